/* C host code against the AES and SHA-2 exports: the published single-block and "abc" answers. */
#include <cpputil/aes.h>
#include <cpputil/sha2.h>

#include <string.h>

int consumer_crypto_check(void)
{
    static const unsigned char cipher[16] = {0x69, 0xc4, 0xe0, 0xd8, 0x6a, 0x7b, 0x04, 0x30,
                                             0xd8, 0xcd, 0xb7, 0x80, 0x70, 0xb4, 0xc5, 0x5a};
    static const unsigned char abc[32] = {0xba, 0x78, 0x16, 0xbf, 0x8f, 0x01, 0xcf, 0xea,
                                          0x41, 0x41, 0x40, 0xde, 0x5d, 0xae, 0x22, 0x23,
                                          0xb0, 0x03, 0x61, 0xa3, 0x96, 0x17, 0x7a, 0x9c,
                                          0xb4, 0x10, 0xff, 0x61, 0xf2, 0x00, 0x15, 0xad};
    unsigned char key[16], block[16], digest[SHA256_DIGEST_SIZE];
    aes_encrypt_ctx cx[1];
    int i;
    for (i = 0; i < 16; ++i)
    {
        key[i] = (unsigned char)i;
        block[i] = (unsigned char)(i * 0x11);
    }
    aes_init();
    if (aes_encrypt_key128(key, cx) != 0 || aes_encrypt(block, block, cx) != 0)
        return 1;
    sha256((const unsigned char*)"abc", 3, digest);
    return memcmp(block, cipher, 16) != 0 || memcmp(digest, abc, 32) != 0;
}
