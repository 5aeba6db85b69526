#pragma once

#include <QLineEdit>
#include <QTimer>

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

    /** An input method has text that it has not committed, so that every key is its. */
    bool isComposing() const { return composing_; }

    /** Shows a text that the user did not type; a composition in progress is dropped. */
    void showText(const QString &text);

    /** What people's shells do with Control+W and Control+U: deletes the word before the caret, or
        all that is before it. What is marked goes, too. Can be undone. */
    void deleteWord();
    void deleteToStart();

Q_SIGNALS:
    /** The user changed the text. While an input method composes, not before it commits. */
    void edited(const QString &text);

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void keyReleaseEvent(QKeyEvent *event) override;
    void inputMethodEvent(QInputMethodEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    bool focusNextPrevChild(bool next) override;

private:
    void announce();
    void endComposition();
    void later(const std::function<void()> &callback);
    QRect caretRect() const;
    void showCaret();
    void stopCaret();

    bool composing_ = false;
    bool caretIsLit_ = false;
    QTimer blink_;
    QString announced_; ///< what edited() last said, or showText() showed
};

} // namespace corvid
