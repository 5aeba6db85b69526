#pragma once

#include <QString>
#include <QWidget>

namespace corvid {

class ResultList;
struct ResultItem;

/** A single row, below a line, where the list that it belongs to is out of sight: it looks as the
    list's selected row does. Takes no room where there is none. */
class RowStrip final : public QWidget {
    Q_OBJECT

public:
    explicit RowStrip(QWidget *parent = nullptr);

    /** Shows this row; null for none. */
    void showRow(const ResultItem *row);

Q_SIGNALS:
    /** The row was clicked. */
    void clicked();

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    ResultList *list_;
    QString id_; ///< of the row shown, as its title
    QString title_;
};

} // namespace corvid
