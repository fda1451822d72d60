// SHA-2 on libcrypto's digest functions. The running state has to live in the host's own context
// structure, which only these functions allow: EVP keeps it behind an allocated handle that
// nothing in this interface would free. They are the same code EVP's default provider runs, and
// OpenSSL 3 merely marks them deprecated in favour of EVP.
#define OPENSSL_SUPPRESS_DEPRECATED

#include "../../../sha2.h"

#include <openssl/sha.h>

#include <new>

// The streaming functions of one digest, each a call of libcrypto's on the state in the context.
#define CPPUTIL_SHA2_FUNCTIONS(bits, State_t)                                                      \
    static_assert(sizeof(State_t) <= sizeof(sha##bits##_ctx) &&                                    \
                      alignof(State_t) <= alignof(sha##bits##_ctx),                                \
                  "sha" #bits "_ctx must hold libcrypto's state");                                 \
    void sha##bits##_init(sha##bits##_ctx* ctx)                                                    \
    {                                                                                              \
        SHA##bits##_Init(new (ctx->opaque) State_t);                                               \
    }                                                                                              \
    void sha##bits##_update(sha##bits##_ctx* ctx, const unsigned char* message, unsigned int len)  \
    {                                                                                              \
        SHA##bits##_Update(reinterpret_cast<State_t*>(ctx->opaque), message, len);                 \
    }                                                                                              \
    void sha##bits##_final(sha##bits##_ctx* ctx, unsigned char* digest)                            \
    {                                                                                              \
        SHA##bits##_Final(digest, reinterpret_cast<State_t*>(ctx->opaque));                        \
    }

CPPUTIL_SHA2_FUNCTIONS(224, SHA256_CTX)
CPPUTIL_SHA2_FUNCTIONS(256, SHA256_CTX)
CPPUTIL_SHA2_FUNCTIONS(384, SHA512_CTX)
CPPUTIL_SHA2_FUNCTIONS(512, SHA512_CTX)
