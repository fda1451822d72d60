// Tests whose body runs on a thread of its own, so that its message queue starts empty whatever an
// earlier test left in the queue of the main thread.
#pragma once

#include "RecorderWnd.h"

#define TEST_ON_FRESH_THREAD(suite, name)                                                          \
    static void suite##_##name##_Body();                                                           \
    TEST(suite, name)                                                                              \
    {                                                                                              \
        OnFreshThread(suite##_##name##_Body);                                                      \
    }                                                                                              \
    static void suite##_##name##_Body()
