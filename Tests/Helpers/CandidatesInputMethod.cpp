// What input methods do in the process they serve, as a plugin for tests, named "candidates": with
// each key press it shows a green window of 100 × 20 below the text cursor, as they show what may
// have been meant, and takes no key.

#include <QEvent>
#include <QGenericPlugin>
#include <QGuiApplication>
#include <QInputMethod>
#include <QPainter>
#include <QRasterWindow>

namespace {

class Candidates final : public QRasterWindow {
public:
    Candidates() {
        setFlags(Qt::ToolTip | Qt::FramelessWindowHint | Qt::BypassWindowManagerHint |
                 Qt::WindowDoesNotAcceptFocus);
        resize(100, 20);
    }

protected:
    void paintEvent(QPaintEvent * /*event*/) override {
        QPainter(this).fillRect(QRect(QPoint(), size()), Qt::green);
    }
};

class InputMethod final : public QObject {
public:
    InputMethod() {
        qGuiApp->installEventFilter(this);
        connect(qGuiApp, &QGuiApplication::focusObjectChanged, &candidates_, &QWindow::hide);
    }

    bool eventFilter(QObject *watched, QEvent *event) override {
        QWindow *window = QGuiApplication::focusWindow();
        if (window && watched == window && event->type() == QEvent::KeyPress) {
            const QRectF cursor = QGuiApplication::inputMethod()->cursorRectangle();
            candidates_.setTransientParent(window);
            candidates_.setPosition(window->mapToGlobal(cursor.bottomLeft().toPoint()));
            candidates_.show();
        }
        return false;
    }

private:
    Candidates candidates_;
};

} // namespace

class CandidatesInputMethod final : public QGenericPlugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QGenericPluginFactoryInterface_iid FILE "CandidatesInputMethod.json")

public:
    QObject *create(const QString & /*name*/, const QString & /*specification*/) override {
        return new InputMethod;
    }
};

#include "CandidatesInputMethod.moc"
