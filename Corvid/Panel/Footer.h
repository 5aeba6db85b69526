#pragma once

#include <QWidget>

class QLabel;

namespace corvid {

/** The line at the panel's foot: a status, a hint beside it where there is something to say, and
   the program's name. */
class Footer final : public QWidget {
public:
    explicit Footer(QWidget *parent = nullptr);

    void setStatus(const QString &text);
    /** Empty for none. Rather cut off than wider than the panel. */
    void setHint(const QString &text);

private:
    QLabel *status_;
    QLabel *hint_;
};

} // namespace corvid
