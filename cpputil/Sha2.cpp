// The one-shot SHA-2 exports, over the streaming ones.
#include "sha2.h"

namespace
{

template <typename Context>
void OneShot(void (*init)(Context*), void (*update)(Context*, const unsigned char*, unsigned int),
             void (*final)(Context*, unsigned char*), const unsigned char* message,
             unsigned int len, unsigned char* digest)
{
    Context ctx;
    init(&ctx);
    update(&ctx, message, len);
    final(&ctx, digest);
}

} // namespace

void sha224(const unsigned char* message, unsigned int len, unsigned char* digest)
{
    OneShot(sha224_init, sha224_update, sha224_final, message, len, digest);
}
void sha256(const unsigned char* message, unsigned int len, unsigned char* digest)
{
    OneShot(sha256_init, sha256_update, sha256_final, message, len, digest);
}
void sha384(const unsigned char* message, unsigned int len, unsigned char* digest)
{
    OneShot(sha384_init, sha384_update, sha384_final, message, len, digest);
}
void sha512(const unsigned char* message, unsigned int len, unsigned char* digest)
{
    OneShot(sha512_init, sha512_update, sha512_final, message, len, digest);
}
