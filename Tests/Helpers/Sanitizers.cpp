// What the sanitizers are told in every program of a build with them (-D CORVID_SANITIZERS=…): what
// they must not report because it is not ours, each with its reason, and what they cannot know.

#ifdef __SANITIZE_ADDRESS__
extern "C" {

const char *__asan_default_options() {
    // One test has the signal of a file that was cut short end a process, which is no finding.
    return "detect_stack_use_after_return=1:check_initialization_order=1:strict_init_order=1:"
           "handle_sigbus=0";
}

// A list of what was suppressed would be taken for the program's own output.
const char *__lsan_default_options() {
    return "print_suppressions=0";
}

const char *__lsan_default_suppressions() {
    return
        // Qt's bus keeps what it learnt of a service for as long as the connection lives, which
        // nobody closes. What we leave behind by way of it is hidden, too.
        "leak:libQt6DBus.so\n"
        // Qt's bus uses this as well. The front's connection is gone after one call.
        "leak:libdbus-1.so\n"
        // Nothing of ours uses Fontconfig. Qt does, whose configuration it keeps until the end.
        "leak:libfontconfig.so\n"
        // OpenSSL frees what it keeps for a thread when that ends. Qt's network thread may outlive
        // the test that fails a handshake at its very end.
        "leak:libcrypto.so\n"
        // Qt forgets what it bound of the compositor at the end. Ours has to go with it: who called
        // the library is seen by the slow unwinder only (fast_unwind_on_malloc=0), whose pace tests
        // of a session do not stand.
        "leak:libwayland-client.so\n"
        // Nor does it free the screen that it makes up where there is none.
        "leak:QtWaylandClient::QWaylandDisplay::ensureScreen\n"
        // Nor what was copied last.
        "leak:QClipboard::setText\n";
}

// What a library keeps until the end would count as lost once it is unloaded, which Qt does with
// its plugins and Mesa with its drivers. It stays.
int dlclose(void * /*handle*/) {
    return 0;
}

const char *__ubsan_default_options() {
    return "print_stacktrace=1";
}

} // extern "C"
#endif

#ifdef __SANITIZE_THREAD__
#include <QObject>

#include <cstdarg>
#include <dlfcn.h>
#include <sanitizer/tsan_interface.h>

extern "C" const char *__tsan_default_options() {
    // Qt, GLib and the C++ library are not built with the thread sanitizer: their own locks are
    // unknown to it, so what happens between two calls of theirs cannot be judged.
    //
    // A display that is lost has Qt end the process where it stands, with the threads that run. One
    // test has the signal of a file that was cut short end a process, which is no finding.
    return "ignore_noninstrumented_modules=1:report_thread_leaks=0:handle_sigbus=0";
}

extern "C" int __clone(int (*)(void *), void *, int, void *, ...);

// Qt starts processes so that the child shares our memory until it executes something else. GCC's
// thread sanitizer takes every child for one with a copy and puts its own state right twice, after
// which it is blind to what the parent's thread locks. This stands before its function.
extern "C" int clone(int (*function)(void *), void *stack, int flags, void *argument, ...) {
    va_list rest;
    va_start(rest, argument);
    void *parentId = va_arg(rest, void *);
    void *storage = va_arg(rest, void *);
    void *childId = va_arg(rest, void *);
    va_end(rest);
    return __clone(function, stack, flags, argument, parentId, storage, childId);
}

namespace {

/** A slot that says when it was handed over and when it arrived. */
class HandedOver : public QtPrivate::QSlotObjectBase {
public:
    explicit HandedOver(QSlotObjectBase *slot) : QSlotObjectBase(&act), slot_(slot) {
        __tsan_release(this);
    }

private:
    static void act(int operation, QSlotObjectBase *self, QObject *receiver, void **arguments,
                    bool *equal) {
        __tsan_acquire(self);
        QSlotObjectBase *slot = static_cast<HandedOver *>(self)->slot_;
        switch (operation) {
        case Destroy:
            slot->destroyIfLastRef();
            delete static_cast<HandedOver *>(self);
            break;
        case Call:
            slot->call(receiver, arguments);
            // Whoever handed it over may be the one who deletes it.
            __tsan_release(self);
            break;
        case Compare:
            *equal = slot->compare(arguments);
            break;
        default:
            break;
        }
    }

    QSlotObjectBase *slot_;
};

} // namespace

// Qt is not built with the thread sanitizer, which therefore does not see the locks of its event
// queues: what one thread posts and another executes would look unordered. This stands before Qt's
// own function for all calls in our code.
bool QMetaObject::invokeMethodImpl(QObject *receiver, QtPrivate::QSlotObjectBase *slot,
                                   Qt::ConnectionType type, void *result) {
    using Invoke = bool (*)(QObject *, QtPrivate::QSlotObjectBase *, Qt::ConnectionType, void *);
    static const auto invoke = reinterpret_cast<Invoke>(dlsym(
        RTLD_NEXT, "_ZN11QMetaObject16invokeMethodImplEP7QObjectPN9QtPrivate15QSlotObjectBaseE"
                   "N2Qt14ConnectionTypeEPv"));
    return invoke(receiver, new HandedOver(slot), type, result);
}
#endif
