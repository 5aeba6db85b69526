// What the sanitizers are told in every program of a build with them (-D CORVID_SANITIZERS=…): what
// they must not report because it is not ours, each with its reason, and what they cannot know.

#include <QObject>

#include <dlfcn.h>

#ifdef __SANITIZE_THREAD__
#include <sanitizer/tsan_interface.h>

namespace {

/** A slot that says when it was handed over and when it arrived. */
class HandedOver : public QtPrivate::QSlotObjectBase {
public:
    explicit HandedOver(QSlotObjectBase *slot) : QSlotObjectBase(&act), slot_(slot) {
        __tsan_release(slot_);
    }

private:
    static void act(int operation, QSlotObjectBase *self, QObject *receiver, void **arguments,
                    bool *equal) {
        QSlotObjectBase *slot = static_cast<HandedOver *>(self)->slot_;
        __tsan_acquire(slot);
        switch (operation) {
        case Destroy:
            slot->destroyIfLastRef();
            delete static_cast<HandedOver *>(self);
            break;
        case Call:
            slot->call(receiver, arguments);
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
    static const auto invoke = reinterpret_cast<Invoke>(
        dlsym(RTLD_NEXT, "_ZN11QMetaObject16invokeMethodImplEP7QObjectPN9QtPrivate15QSlotObjectBaseE"
                         "N2Qt14ConnectionTypeEPv"));
    return invoke(receiver, new HandedOver(slot), type, result);
}
#endif
