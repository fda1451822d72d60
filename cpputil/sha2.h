/* SHA-224, SHA-256, SHA-384 and SHA-512 (FIPS 180-2), streaming and one-shot, with C linkage.
   The hashing itself is the platform's: OpenSSL's libcrypto on POSIX, CNG (bcrypt) on Windows. */
#ifndef CPPUTIL_SHA2_H
#define CPPUTIL_SHA2_H

#include "CppUtil.Api.h"

#define SHA224_DIGEST_SIZE 28
#define SHA256_DIGEST_SIZE 32
#define SHA384_DIGEST_SIZE 48
#define SHA512_DIGEST_SIZE 64

/* Plain structures the caller owns; the running state of the platform's hash lives inside.
   Between _init and _final a context is used from one thread at a time. On Windows the state is
   a CNG hash object that _final releases, so a context must not be copied mid-stream there, and
   one abandoned before _final keeps its object until the process ends. */
typedef struct
{
    unsigned long long opaque[16];
} sha256_ctx;

typedef struct
{
    unsigned long long opaque[32];
} sha512_ctx;

typedef sha256_ctx sha224_ctx;
typedef sha512_ctx sha384_ctx;

CPPUTIL_C_API void sha224_init(sha224_ctx* ctx);
CPPUTIL_C_API void sha224_update(sha224_ctx* ctx, const unsigned char* message, unsigned int len);
CPPUTIL_C_API void sha224_final(sha224_ctx* ctx, unsigned char* digest);
CPPUTIL_C_API void sha224(const unsigned char* message, unsigned int len, unsigned char* digest);

CPPUTIL_C_API void sha256_init(sha256_ctx* ctx);
CPPUTIL_C_API void sha256_update(sha256_ctx* ctx, const unsigned char* message, unsigned int len);
CPPUTIL_C_API void sha256_final(sha256_ctx* ctx, unsigned char* digest);
CPPUTIL_C_API void sha256(const unsigned char* message, unsigned int len, unsigned char* digest);

CPPUTIL_C_API void sha384_init(sha384_ctx* ctx);
CPPUTIL_C_API void sha384_update(sha384_ctx* ctx, const unsigned char* message, unsigned int len);
CPPUTIL_C_API void sha384_final(sha384_ctx* ctx, unsigned char* digest);
CPPUTIL_C_API void sha384(const unsigned char* message, unsigned int len, unsigned char* digest);

CPPUTIL_C_API void sha512_init(sha512_ctx* ctx);
CPPUTIL_C_API void sha512_update(sha512_ctx* ctx, const unsigned char* message, unsigned int len);
CPPUTIL_C_API void sha512_final(sha512_ctx* ctx, unsigned char* digest);
CPPUTIL_C_API void sha512(const unsigned char* message, unsigned int len, unsigned char* digest);

#endif
