#pragma once

#include "AIService.h"
#include "Base/Assign.h"
#include "Search/QueryRows.h"

#include <QObject>
#include <QTimer>

#include <functional>
#include <optional>
#include <vector>

namespace corvid {

/**
 * What the user and the AI endpoint say to each other: the question, its answer as it comes, and,
 * while a question is being typed, what it may mean. Main thread only. Whatever goes wrong with an
 * answer becomes its text. Destroying it ends all that is under way.
 */
class Conversation final : public QObject {
    Q_OBJECT

public:
    /** The service outlives the conversation. */
    explicit Conversation(AIService &service);

    const QString &question() const { return question_; }
    void setQuestion(const QString &text) {
        assign(this, question_, text, &Conversation::questionChanged);
    }
    const QString &answer() const { return answer_; }
    void setAnswer(const QString &text) {
        assign(this, answer_, text, &Conversation::answerChanged);
    }
    /** An answer is coming. */
    bool busy() const { return busy_; }
    void setBusy(bool busy) { assign(this, busy_, busy, &Conversation::busyChanged); }

    /** Empties the answer, asks, and appends what comes. An earlier answer that is still coming is
        appended to the same text. */
    void ask(const QString &question);
    /** Ends the answers that are coming and empties the text. */
    void end();

    /** Asks for the meaning of a query when typing has paused for 400 ms. `done` gets its row if it
        names something here, and is not called otherwise. The sources are asked for twice, as
        the catalogs may change in between. Replaces what cancelUnderstanding() ends. */
    void understand(const QString &query, const std::function<RowSources()> &sources,
                    const std::function<void(const ResultItem &)> &done);
    void cancelUnderstanding();

Q_SIGNALS:
    void questionChanged();
    void answerChanged();
    void busyChanged();

private:
    AIService &service_;
    QString question_;
    QString answer_;
    bool busy_ = false;
    std::vector<AIService::Task> answers_; ///< under way, or ended since
    QTimer pause_;
    std::function<void()> afterPause_;
    AIService::Task understanding_;
};

/** The row for what the endpoint made of a query; absent when that names nothing here. */
std::optional<ResultItem> intentRow(const Intent &intent, const QString &query,
                                    const RowSources &from);

} // namespace corvid
