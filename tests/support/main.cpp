#include <QGuiApplication>

#include <gtest/gtest.h>

#ifdef __SANITIZE_THREAD__

#include <dlfcn.h>
#include <sched.h>

#include <cstdarg>

// Qt starts processes by a clone that shares its parent's memory until it runs the new program. The thread sanitizer
// takes it for a fork and prepares its own state for a child, which here is the parent's: from then on it overlooks
// every lock that the thread takes. A clone with memory of its own does the same without that.
extern "C" int clone(int (*function)(void*), void* stack, int flags, void* argument, ...)
{
    va_list more;
    va_start(more, argument);
    auto* const parentTid = va_arg(more, pid_t*);
    auto* const tls = va_arg(more, void*);
    auto* const childTid = va_arg(more, pid_t*);
    va_end(more);
    using Clone = int (*)(int (*)(void*), void*, int, void*, pid_t*, void*, pid_t*);
    static const auto next = reinterpret_cast<Clone>(::dlsym(RTLD_NEXT, "clone"));
    return next(function, stack, flags & ~(CLONE_VM | CLONE_VFORK), argument, parentTid, tls, childTid);
}

#endif

// Every test program runs inside a Qt application without a display, so that timers, sockets and images work.
int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("KELMO_ANALYTICS", "0");
    QGuiApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
