#pragma once

#include <QTextEdit>
#include <QTimer>

#include <functional>

namespace corvid {

class Symbol;

/**
 * The question and the answer to it, which grows while it is read: it follows its end unless the
 * reader has scrolled away from it. Everything is shown as plain text and can be selected. Main
 * thread only.
 */
class AnswerArea final : public QTextEdit {
    Q_OBJECT

public:
    /** `answer` gives the answer as far as it has come, for as long as the area lives. */
    explicit AnswerArea(std::function<const QString &()> answer, QWidget *parent = nullptr);

    /** Shows another question; what was there goes. */
    void setQuestion(const QString &question);
    /** The answer is another one. A text that continues the one shown is appended, at most once a
        frame however fast it grows; any other replaces it. */
    void answerChanged();
    /** Whether an answer is awaited, which shows as long as there is none. */
    void setBusy(bool busy);

    /** Scrolls by lines and pages; negative goes up. */
    void scrollBy(int lines, int pages = 0);

    /** The text that the reader has marked, as it reads; empty when nothing is marked. */
    QString markedText() const;

    /** Says that the answer was copied, on the control, for a moment. */
    void confirmCopy();

Q_SIGNALS:
    /** The copy control was pressed. */
    void copyRequested();

protected:
    QMimeData *createMimeDataFromSelection() const override;
    void resizeEvent(QResizeEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;

private:
    void showAnswer();
    void append(const QString &text);
    void settleLongBlock();
    void placeControls();

    std::function<const QString &()> answer_;
    QString shown_; ///< what of it the document holds
    bool busy_ = false;
    bool followsEnd_ = false; ///< the end was in sight when the answer last grew
    QTimer nextFrame_;        ///< runs for a frame after the answer was shown
    QTimer copiedFor_;
    QWidget *progress_;
    Symbol *copy_;
};

} // namespace corvid
