// SHA-2 on libcrypto's digest functions. The running state has to live in the host's own context
// structure, which only these functions allow: EVP keeps it behind an allocated handle that
// nothing in this interface would free. They are the same code EVP's default provider runs, and
// OpenSSL 3 merely marks them deprecated in favour of EVP.
#define OPENSSL_SUPPRESS_DEPRECATED

#include "../../../sha2.h"

#include <openssl/sha.h>

#include <new>

namespace
{

static_assert(sizeof(SHA256_CTX) <= sizeof(sha256_ctx) &&
                  alignof(SHA256_CTX) <= alignof(sha256_ctx),
              "sha256_ctx must hold libcrypto's state");
static_assert(sizeof(SHA512_CTX) <= sizeof(sha512_ctx) &&
                  alignof(SHA512_CTX) <= alignof(sha512_ctx),
              "sha512_ctx must hold libcrypto's state");

SHA256_CTX* State(sha256_ctx* ctx)
{
    return reinterpret_cast<SHA256_CTX*>(ctx->opaque);
}

SHA512_CTX* State(sha512_ctx* ctx)
{
    return reinterpret_cast<SHA512_CTX*>(ctx->opaque);
}

} // namespace

void sha224_init(sha224_ctx* ctx)
{
    SHA224_Init(new (ctx->opaque) SHA256_CTX);
}
void sha224_update(sha224_ctx* ctx, const unsigned char* message, unsigned int len)
{
    SHA224_Update(State(ctx), message, len);
}
void sha224_final(sha224_ctx* ctx, unsigned char* digest)
{
    SHA224_Final(digest, State(ctx));
}

void sha256_init(sha256_ctx* ctx)
{
    SHA256_Init(new (ctx->opaque) SHA256_CTX);
}
void sha256_update(sha256_ctx* ctx, const unsigned char* message, unsigned int len)
{
    SHA256_Update(State(ctx), message, len);
}
void sha256_final(sha256_ctx* ctx, unsigned char* digest)
{
    SHA256_Final(digest, State(ctx));
}

void sha384_init(sha384_ctx* ctx)
{
    SHA384_Init(new (ctx->opaque) SHA512_CTX);
}
void sha384_update(sha384_ctx* ctx, const unsigned char* message, unsigned int len)
{
    SHA384_Update(State(ctx), message, len);
}
void sha384_final(sha384_ctx* ctx, unsigned char* digest)
{
    SHA384_Final(digest, State(ctx));
}

void sha512_init(sha512_ctx* ctx)
{
    SHA512_Init(new (ctx->opaque) SHA512_CTX);
}
void sha512_update(sha512_ctx* ctx, const unsigned char* message, unsigned int len)
{
    SHA512_Update(State(ctx), message, len);
}
void sha512_final(sha512_ctx* ctx, unsigned char* digest)
{
    SHA512_Final(digest, State(ctx));
}
