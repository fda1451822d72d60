/// @file
/// The way from any thread to the host's user-interface thread.
#pragma once

#include "CppUtil.Api.h"

#include <boost/function.hpp>

namespace CppUtil
{
namespace Thread
{

class CInterThreadCaller;

/// Until the host hooks its user-interface thread's caller, every call runs at once on the calling
/// thread. Hook and Unhook take no lock: the host calls them while no other thread calls through
/// here.
class CPPUTIL_API CGuiThreadCaller
{
public:
    typedef boost::function<void()> TDelegate;

    /// Throws CQlException when a caller is already hooked.
    static void Hook(CInterThreadCaller& caller);
    /// Throws CQlException when no caller is hooked.
    static void Unhook();

    /// As CInterThreadCaller's operations of the same names.
    static void Invoke(const TDelegate& call);
    static void BeginInvoke(const TDelegate& call);
    static void Fire(const TDelegate& call);

private:
    static CInterThreadCaller* s_poCaller;
};

} // namespace Thread
} // namespace CppUtil
