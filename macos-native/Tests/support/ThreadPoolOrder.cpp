// Tells the thread sanitizer what a QThreadPool puts in order: what was done before a task is started precedes the
// task, and the task precedes what is done once the pool is gone. Debian's Qt is built without the sanitizer, which
// therefore sees none of the pool's own locks and would call every task a race. To pass over whatever has Qt on its
// stack would be to pass over all there is, for the event loop is Qt's too.
//
// Linked into every program of that build, these functions stand before the library's own of the same name. This file
// must not be compiled with the sanitizer: what it hands over itself would count.

#include <QThreadPool>

#include <dlfcn.h>
#include <sanitizer/tsan_interface.h>

namespace {

/// The library's own function of this name, which ours stands before.
template <typename Function> Function inQt(const char* mangledName)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, mangledName));
}

} // namespace

void QThreadPool::start(std::function<void()> task, int priority)
{
    static const auto start =
        inQt<void (*)(QThreadPool*, std::function<void()>, int)>("_ZN11QThreadPool5startESt8functionIFvvEEi");
    std::function<void()> inOrder = [this, task = std::move(task)] {
        __tsan_acquire(this);
        task();
        __tsan_release(this);
    };
    __tsan_release(this);
    start(this, std::move(inOrder), priority);
}

/// The destructor, under its mangled name: as a destructor of ours it would destroy the base class a second time.
extern "C" void _ZN11QThreadPoolD1Ev(QThreadPool* pool)
{
    static const auto destroy = inQt<void (*)(QThreadPool*)>("_ZN11QThreadPoolD1Ev");
    destroy(pool);
    __tsan_acquire(pool);
}
