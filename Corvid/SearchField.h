#pragma once

#include <QLineEdit>

#include <functional>

namespace corvid {

/**
 * The panel's one-line text field. Return, the arrows and Escape are the launcher's, unless an
 * input method is composing, when every key is the input method's.
 */
class SearchField final : public QLineEdit {
    Q_OBJECT

public:
    explicit SearchField(QWidget *parent = nullptr);

    /** The most recently created field that still exists, or null. */
    static SearchField *current();

    std::function<void()> onSubmit;
    std::function<void()> onUp;
    std::function<void()> onDown;
    std::function<void()> onEsc;
    /** Offered every key first; true means the key was consumed. */
    std::function<bool(QKeyEvent *)> onEvent;

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void inputMethodEvent(QInputMethodEvent *event) override;

private:
    void later(const std::function<void()> &callback);

    bool composing_ = false;
};

} // namespace corvid
