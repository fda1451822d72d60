/// @file
/// Tells a WM_TIMER of a window's current timer from one its earlier timer left behind.
#pragma once

#include "Platform/Kernel/CWnd.h"

namespace CppUtil
{
namespace Thread
{

/// Win32 documents that killing a timer, or setting it again, does not take back a WM_TIMER it has
/// already posted (one peeked without removal, say, or copied into the queue). So the window posts
/// itself a mark whenever a timer that may have posted ends; posted messages keep
/// their order, and a tick met while a mark is still on its way was posted before that end. The
/// mark travels ahead of the new timer's ticks, which come only when nothing is posted, so a loop
/// that does not filter out the mark never mistakes a current tick for an old one.
class CStaleTickFilter
{
public:
    static constexpr Platform::UINT WM_TIMER_ENDED = Platform::k_uiWmUser + 101;

    /// Call after a KillTimer, or after a SetTimer that replaced a running timer.
    void Ended(CWnd& oWnd)
    {
        // A mark the queue refuses leaves nothing to wait for.
        if (oWnd.PostMessage(WM_TIMER_ENDED))
            ++m_uMarksAhead;
    }
    /// Takes the window's message when it is a mark.
    bool TakeMark(Platform::UINT uMessage)
    {
        if (uMessage != WM_TIMER_ENDED)
            return false;
        if (m_uMarksAhead != 0)
            --m_uMarksAhead;
        return true;
    }
    /// Whether a WM_TIMER handled now was posted by a timer that has ended since.
    bool IsStale() const { return m_uMarksAhead != 0; }

private:
    unsigned int m_uMarksAhead = 0;
};

} // namespace Thread
} // namespace CppUtil
