#pragma once

#include "Panel/AnswerDocument.h"

#include <QTextEdit>
#include <QTimer>

#include <functional>
#include <vector>

namespace corvid {

class ProgressIndicator;
class Symbol;

/**
 * The question and the answer to it, which grows while it is read. While its end is in sight it is
 * followed; once it is finished its beginning shows, unless the reader has scrolled or marked
 * something. It is shown as Markdown and can be marked. Nothing of it is ever fetched or opened but
 * by a click on a link. Main thread only.
 */
class AnswerArea final : public QTextEdit {
    Q_OBJECT

public:
    enum class Kind : std::uint8_t {
        Answer,
        Failure ///< what went wrong instead: shown as it is, with a button that asks again
    };
    enum class Edge : std::uint8_t { Beginning, End };

    /** `answer` gives the answer as far as it has come, for as long as the area lives. */
    explicit AnswerArea(std::function<const QString &()> answer, QWidget *parent = nullptr);

    /** Shows another question; what was there goes. */
    void setQuestion(const QString &question);
    /** What the text is; an answer from the next question on. */
    void setKind(Kind kind);
    /** The answer is another one. A text that continues the one shown is appended, at most once a
        frame however fast it grows, and no more at once than the main thread has time for; any
        other replaces it. */
    void answerChanged();
    /** Whether more is expected of the answer, which shows. */
    void setBusy(bool busy);

    /** Scrolls by lines and pages; negative goes up. */
    void scrollBy(int lines, int pages = 0);
    void scrollTo(Edge edge);

    /** The text that the reader has marked, as it reads; empty when nothing is marked. */
    QString markedText() const;
    /** The last block of code, without what fences it in; empty when there is none. */
    QString lastCode() const;

    /** Says that the answer was copied, on the control, for a moment. */
    void confirmCopy();

Q_SIGNALS:
    /** The copy control was pressed. */
    void copyRequested();
    /** The copy control of a block of code was pressed. */
    void copyCodeRequested(const QString &code);
    void stopRequested();
    /** The question is to be asked again. */
    void retryRequested();
    /** A link was clicked, which goes to a web page or to a mailbox. */
    void linkClicked(const QString &address);

protected:
    QMimeData *createMimeDataFromSelection() const override;
    bool viewportEvent(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;

private:
    void begin();
    void showAnswer();
    void append(const QString &answer);
    void placeControls();
    void placeCodeControls();
    Symbol *codeControl(std::size_t index);
    void confirm(Symbol *control);

    std::function<const QString &()> answer_;
    QString question_;
    AnswerDocument content_;
    QString shown_; ///< what of the answer the document holds
    Kind kind_ = Kind::Answer;
    bool busy_ = false;
    bool finishing_ = false;  ///< the answer is complete, but may not be shown as a whole
    bool touched_ = false;    ///< the reader has scrolled
    bool followsEnd_ = false; ///< the end was in sight when the answer last grew
    QString pressedLink_;     ///< that the mouse button went down on
    QTimer nextFrame_;        ///< runs for a frame after the answer was shown
    QTimer copiedFor_;
    ProgressIndicator *waiting_;
    ProgressIndicator *growing_;
    Symbol *copy_;
    Symbol *stop_;
    Symbol *retry_;
    Symbol *copied_ = nullptr;           ///< the control that says so at the moment
    std::vector<Symbol *> codeControls_; ///< of the fields of code in sight, then those to spare
    std::vector<int> codeLines_;         ///< the number of a block of each field in sight
};

} // namespace corvid
