// The floor for the panel's figures: what the same toolkit needs for a window of the same size with
// a text field and a list, and nothing behind it.
//
//   BareWindow [--show]
//
// Alt+K on X11 and SIGUSR1 show and hide the window, Escape hides it. Every change of the text
// gives the list nine other rows.

#include <QAbstractNativeEventFilter>
#include <QApplication>
#include <QBoxLayout>
#include <QKeyEvent>
#include <QLineEdit>
#include <QListView>
#include <QSocketNotifier>
#include <QStringListModel>

#include <cstring>
#include <optional>

#include <csignal>
#include <sys/signalfd.h>
#include <unistd.h>
#include <xcb/xcb.h>

namespace {

constexpr xcb_keycode_t keyCodeOfK = 45;
constexpr int rows = 9;

class BareWindow final : public QWidget {
public:
    BareWindow()
        : QWidget(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint),
          field_(new QLineEdit(this)), list_(new QListView(this)) {
        setWindowTitle(QStringLiteral("BareWindow"));
        setAttribute(Qt::WA_QuitOnClose, false);
        setFixedSize(660, 440);
        auto *stack = new QVBoxLayout(this);
        stack->addWidget(field_);
        stack->addWidget(list_);
        list_->setModel(&model_);
        list_->setFocusPolicy(Qt::NoFocus);
        connect(field_, &QLineEdit::textChanged, this, [this] { fill(); });
        fill();
    }
    void present() {
        show();
        raise();
        activateWindow();
        field_->setFocus();
        field_->selectAll();
    }
    void toggle() {
        if (isVisible())
            hide();
        else
            present();
    }

protected:
    void keyPressEvent(QKeyEvent *event) override {
        if (event->key() == Qt::Key_Escape)
            hide();
    }

private:
    void fill() {
        QStringList texts;
        for (int i = 0; i < rows; ++i)
            texts.append(field_->text() + QString::number(++counter_));
        model_.setStringList(texts);
        list_->setCurrentIndex(model_.index(0));
    }

    QLineEdit *field_;
    QListView *list_;
    QStringListModel model_;
    int counter_ = 0;
};

class HotKey final : public QAbstractNativeEventFilter {
public:
    explicit HotKey(BareWindow &window) : window_(window) {
        xcb_connection_t *connection =
            qGuiApp->nativeInterface<QNativeInterface::QX11Application>()->connection();
        const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
        xcb_grab_key(connection, false, root, XCB_MOD_MASK_1, keyCodeOfK, XCB_GRAB_MODE_ASYNC,
                     XCB_GRAB_MODE_ASYNC);
        xcb_flush(connection);
        root_ = root;
    }
    bool nativeEventFilter(const QByteArray & /*type*/, void *message, qintptr * /*r*/) override {
        const auto *event = static_cast<const xcb_key_press_event_t *>(message);
        if (event->response_type != XCB_KEY_PRESS || event->event != root_)
            return false;
        window_.toggle();
        return true;
    }

private:
    BareWindow &window_;
    xcb_window_t root_ = XCB_WINDOW_NONE;
};

/** Before any thread: those of the toolkit must not be given the signal. */
int blockToggleSignal() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGUSR1);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    return signalfd(-1, &signals, SFD_CLOEXEC);
}

} // namespace

int main(int argc, char **argv) {
    const int toggleSignals = blockToggleSignal();
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    BareWindow window;
    QSocketNotifier notifier(toggleSignals, QSocketNotifier::Read);
    QObject::connect(&notifier, &QSocketNotifier::activated, &window, [&] {
        signalfd_siginfo signal;
        if (read(toggleSignals, &signal, sizeof signal) == sizeof signal)
            window.toggle();
    });
    std::optional<HotKey> hotKey;
    if (qGuiApp->nativeInterface<QNativeInterface::QX11Application>())
        application.installNativeEventFilter(&hotKey.emplace(window));
    if (argc > 1 && std::strcmp(argv[1], "--show") == 0)
        window.present();
    return QApplication::exec();
}
