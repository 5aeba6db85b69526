#pragma once

#include <QWidget>

#include <functional>

class QKeyEvent;

namespace corvid {

/**
 * Sees every key press of its window before any widget does, and so also those that the search
 * field would not get. Has no size and draws nothing. While the search field is composing it
 * leaves all keys to the input method.
 */
class KeyCatcher final : public QWidget {
    Q_OBJECT

public:
    explicit KeyCatcher(QWidget *parent);

    std::function<void()> onUp;
    std::function<void()> onDown;
    std::function<void()> onEsc;
    /** Offered each press first; true means that it was consumed. */
    std::function<bool(const QKeyEvent &)> onEvent;

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    bool handle(const QKeyEvent &event) const;
};

} // namespace corvid
