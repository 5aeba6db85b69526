// An input method for tests, named "candidates": with each key press it shows a green window of
// 100 × 20 below the text cursor, as real ones show what may have been meant, and takes no key.

#include <QGuiApplication>
#include <QInputMethod>
#include <QPainter>
#include <QRasterWindow>

#include <qpa/qplatforminputcontext.h>
#include <qpa/qplatforminputcontextplugin_p.h>

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

class InputContext final : public QPlatformInputContext {
public:
    bool isValid() const override { return true; }
    bool filterEvent(const QEvent *event) override {
        QWindow *window = QGuiApplication::focusWindow();
        if (window && event->type() == QEvent::KeyPress) {
            const QRectF cursor = QGuiApplication::inputMethod()->cursorRectangle();
            candidates_.setTransientParent(window);
            candidates_.setPosition(window->mapToGlobal(cursor.bottomLeft().toPoint()));
            candidates_.show();
        }
        return false;
    }
    void setFocusObject(QObject * /*object*/) override { candidates_.hide(); }

private:
    Candidates candidates_;
};

} // namespace

class CandidatesInputMethod final : public QPlatformInputContextPlugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QPlatformInputContextFactoryInterface_iid FILE
                      "CandidatesInputMethod.json")

public:
    QPlatformInputContext *create(const QString & /*key*/,
                                  const QStringList & /*parameters*/) override {
        return new InputContext;
    }
};

#include "CandidatesInputMethod.moc"
