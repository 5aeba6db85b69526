#pragma once

#include <QBasicTimer>
#include <QWidget>

namespace corvid {

/** A small turning wheel. Costs nothing while it is hidden; stands still where the desktop wants no
    motion. Main thread only. */
class ProgressIndicator final : public QWidget {
public:
    /** Hidden at first. */
    ProgressIndicator(int size, const QString &accessibleName, QWidget *parent);

protected:
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void timerEvent(QTimerEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    QBasicTimer timer_;
    int step_ = 0;
};

} // namespace corvid
