#pragma once

#include "Base/HotKeyHelp.h"

#include <QWidget>

class QLabel;
class QPushButton;

namespace corvid {

/** Below the settings' hot key: why it cannot be had, and what to do, with the line for this
    desktop and a button that copies it. Hidden while there is nothing to say. Main thread only. */
class HotKeyAdvice final : public QWidget {
    Q_OBJECT

public:
    explicit HotKeyAdvice(QWidget *parent = nullptr);

    void say(const HotKeyHelp &help);

Q_SIGNALS:
    /** The combination that could be had instead shall be the hot key. */
    void wanted(const corvid::HotKey &hotKey);

private:
    HotKeyHelp help_;
    QLabel *reason_;
    QLabel *line_;
    QPushButton *copy_;
    QPushButton *takeFree_;
};

} // namespace corvid
