#pragma once

#include "Search/ForgottenRow.h"
#include "Search/QueryRows.h"

#include <QObject>

namespace corvid {

/**
 * The rows that are listed, the selected one of them, and what stands in the place of a row's text
 * for a while: a question before its action is carried out, or that it was forgotten. Every change
 * is followed by a signal. Main thread only. Nothing here fails.
 */
class RowList final : public QObject {
    Q_OBJECT

public:
    /** What was learnt about rows outlives this. */
    explicit RowList(UsageStats &stats) : forgotten_(stats) {}

    const Rows &rows() const { return rows_; }
    /** Index of the selected row. */
    int selected() const { return selected_; }
    /** Null where the selection is no row. */
    const ResultItem *selectedRow() const;

    /** Lists these rows instead; a selection beyond them becomes the last one. */
    void publish(Rows rows, int selected);
    void select(int index);
    /** Moves the selection by a step, wrapping at both ends. */
    void move(int delta);
    /** Selects that row, or the first or the last one where it lies beyond them. */
    void selectNearest(int row);

    /** Puts the question before the selected row's action in its place. False where there is none,
        or where it has been there and is answered by this. */
    bool askBefore(const ResultItem &row);
    /** Whether a question waits for its answer. */
    bool asks() const { return questioned_.has_value(); }
    /** Takes it back, as every change of the selection does. */
    void withdrawQuestion();

    /** Forgets what was learnt about the selected row under a usage key and for a query. The row
        says so, and offers to put it back. */
    void forget(const QString &key, const QString &query);
    /** Puts it back; see ForgottenRow::undo(). The rows stay as they are. */
    bool undoForgetting() { return forgotten_.undo(); }
    /** Takes that offer away; false where there was none. The rows stay as they are. */
    bool endForgetting() { return forgotten_.end(); }
    /** Takes question and offer away: other rows are to come. */
    void settle();

    /** Puts an icon that has arrived into the rows that show this path. */
    void updateIcon(const QString &path, const Image &icon);
    /** Likewise the branch of a project. */
    void updateBranch(const QString &projectPath, const QString &branch);

Q_SIGNALS:
    void rowsChanged();
    void selectedChanged();
    /** The icon or the branch of one row is another one. */
    void rowChanged(int row);
    /** The rows have changed and shall be painted now. Never emitted from within the call that
        changed them. */
    void flushRequested();

private:
    Rows rows_;
    int selected_ = 0;
    ForgottenRow forgotten_;
    std::optional<ResultItem> questioned_; ///< the row without the question in its place
};

} // namespace corvid
