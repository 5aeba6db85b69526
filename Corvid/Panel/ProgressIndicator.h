#pragma once

#include <QTimer>
#include <QWidget>

namespace corvid {

/** A small turning wheel, for a wait of unknown length. Costs nothing while it is hidden; stands
    still where the desktop wants no motion. */
class ProgressIndicator final : public QWidget {
    Q_OBJECT

public:
    explicit ProgressIndicator(QWidget *parent);

protected:
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    QTimer timer_;
    int step_ = 0;
};

} // namespace corvid
