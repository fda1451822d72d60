/* AES (FIPS-197) with 128-, 192- and 256-bit keys, single blocks and the ECB, CBC, CFB, OFB and
   CTR modes, with C linkage. The cipher itself is the platform's: OpenSSL's libcrypto on POSIX,
   CNG (bcrypt) on Windows. */
#ifndef CPPUTIL_AES_H
#define CPPUTIL_AES_H

#include "CppUtil.Api.h"

#define AES_BLOCK_SIZE 16

/* 0 on success, 1 on failure (no key set, a length that is not whole blocks, a bad key
   size). */
typedef int AES_RETURN;

/* Contexts are plain structures the caller owns, on the stack or anywhere else, and may copy;
   nothing needs freeing. They hold the key itself rather than a handle to a cipher object,
   because this interface has no call that would release one. On POSIX the cipher objects, with
   their key schedules, live in a small per-thread cache of the library's, found by the context's
   stamp (so a look-up never compares keys) and rebuilt from the key on a miss; a schedule stays
   there until later keys push it out or the thread ends, whatever becomes of the context. On
   Windows a key object is made for each call. */
typedef struct
{
    unsigned char key[32];
    unsigned long long stamp; /* 0: no key set */
    unsigned int key_bytes;
    /* Streaming modes: bytes of the current block already used, and for CTR the block's key
       stream (CFB and OFB keep theirs in the caller's iv). */
    unsigned int position;
    unsigned char stream[AES_BLOCK_SIZE];
} aes_encrypt_ctx;

typedef struct
{
    unsigned char key[32];
    unsigned long long stamp;
    unsigned int key_bytes;
    unsigned int position;
    unsigned char stream[AES_BLOCK_SIZE];
} aes_decrypt_ctx;

/* Nothing to prepare: kept for hosts that call it before anything else. */
CPPUTIL_C_API void aes_init(void);

CPPUTIL_C_API AES_RETURN aes_encrypt_key128(const unsigned char* key, aes_encrypt_ctx cx[1]);
CPPUTIL_C_API AES_RETURN aes_encrypt_key192(const unsigned char* key, aes_encrypt_ctx cx[1]);
CPPUTIL_C_API AES_RETURN aes_encrypt_key256(const unsigned char* key, aes_encrypt_ctx cx[1]);
/* key_len in bytes (16, 24, 32) or bits (128, 192, 256). */
CPPUTIL_C_API AES_RETURN aes_encrypt_key(const unsigned char* key, int key_len,
                                         aes_encrypt_ctx cx[1]);

CPPUTIL_C_API AES_RETURN aes_decrypt_key128(const unsigned char* key, aes_decrypt_ctx cx[1]);
CPPUTIL_C_API AES_RETURN aes_decrypt_key192(const unsigned char* key, aes_decrypt_ctx cx[1]);
CPPUTIL_C_API AES_RETURN aes_decrypt_key256(const unsigned char* key, aes_decrypt_ctx cx[1]);
CPPUTIL_C_API AES_RETURN aes_decrypt_key(const unsigned char* key, int key_len,
                                         aes_decrypt_ctx cx[1]);

/* One block; in and out may be the same buffer. */
CPPUTIL_C_API AES_RETURN aes_encrypt(const unsigned char* in, unsigned char* out,
                                     const aes_encrypt_ctx cx[1]);
CPPUTIL_C_API AES_RETURN aes_decrypt(const unsigned char* in, unsigned char* out,
                                     const aes_decrypt_ctx cx[1]);

/* Whole blocks only; len is in bytes. CBC leaves the last cipher block in iv, so that the next
   call continues the chain. */
CPPUTIL_C_API AES_RETURN aes_ecb_encrypt(const unsigned char* ibuf, unsigned char* obuf, int len,
                                         const aes_encrypt_ctx cx[1]);
CPPUTIL_C_API AES_RETURN aes_ecb_decrypt(const unsigned char* ibuf, unsigned char* obuf, int len,
                                         const aes_decrypt_ctx cx[1]);
CPPUTIL_C_API AES_RETURN aes_cbc_encrypt(const unsigned char* ibuf, unsigned char* obuf, int len,
                                         unsigned char* iv, const aes_encrypt_ctx cx[1]);
CPPUTIL_C_API AES_RETURN aes_cbc_decrypt(const unsigned char* ibuf, unsigned char* obuf, int len,
                                         unsigned char* iv, const aes_decrypt_ctx cx[1]);

/* Streaming modes: any length; the position inside the current block is kept in the context, so
   consecutive calls continue one stream. aes_mode_reset starts a new block (call it with a new
   iv or counter). CFB and OFB use the encryption context in both directions. */
CPPUTIL_C_API AES_RETURN aes_mode_reset(aes_encrypt_ctx cx[1]);
CPPUTIL_C_API AES_RETURN aes_cfb_encrypt(const unsigned char* ibuf, unsigned char* obuf, int len,
                                         unsigned char* iv, aes_encrypt_ctx cx[1]);
CPPUTIL_C_API AES_RETURN aes_cfb_decrypt(const unsigned char* ibuf, unsigned char* obuf, int len,
                                         unsigned char* iv, aes_encrypt_ctx cx[1]);
CPPUTIL_C_API AES_RETURN aes_ofb_crypt(const unsigned char* ibuf, unsigned char* obuf, int len,
                                       unsigned char* iv, aes_encrypt_ctx cx[1]);

/* Advances a counter block in place. */
typedef void cbuf_inc(unsigned char* cbuf);
/* cbuf is the next counter block to encrypt; ctr_inc must compute the following one from the
   block alone. When it adds one to the last byte without a carry and agrees with a 128-bit
   big-endian increment at every carry the call crosses (the usual 32-, 64- or 128-bit counters
   over a span that does not wrap their field), the cipher counts the blocks itself; any other
   increment is called once per block. */
CPPUTIL_C_API AES_RETURN aes_ctr_crypt(const unsigned char* ibuf, unsigned char* obuf, int len,
                                       unsigned char* cbuf, cbuf_inc ctr_inc,
                                       aes_encrypt_ctx cx[1]);

/* 0 when a block encrypted at each of the byte offsets 0 .. n-1 of a buffer gives the same
   result; 1 when not, or when n is not a power of two from 1 to 256. */
CPPUTIL_C_API AES_RETURN aes_test_alignment_detection(unsigned int n);

#endif
