// The one-shot SHA-2 exports, over the streaming ones.
#include "sha2.h"

#define CPPUTIL_SHA2_ONE_SHOT(bits)                                                                \
    void sha##bits(const unsigned char* message, unsigned int len, unsigned char* digest)          \
    {                                                                                              \
        sha##bits##_ctx ctx;                                                                       \
        sha##bits##_init(&ctx);                                                                    \
        sha##bits##_update(&ctx, message, len);                                                    \
        sha##bits##_final(&ctx, digest);                                                           \
    }

CPPUTIL_SHA2_ONE_SHOT(224)
CPPUTIL_SHA2_ONE_SHOT(256)
CPPUTIL_SHA2_ONE_SHOT(384)
CPPUTIL_SHA2_ONE_SHOT(512)
