#pragma once

#include "AIService.h"

#include <QObject>

#include <functional>
#include <optional>
#include <vector>

namespace corvid {

class KeychainHelper;

/**
 * What is asked in one showing of the panel: the question, the answer to it as it comes, or what
 * went wrong with it, and the turns before it, which a further question can take along. Every
 * published field has a signal that follows each change of its value. Held in memory only. Main
 * thread only. Nothing here fails.
 *
 * A turn is a question with what was last shown as the answer to it, whole or stopped. What went
 * wrong is none, nor is an answer that was left before its end.
 */
class Conversation final : public QObject {
    Q_OBJECT

public:
    /** How many characters the turns that go along with a question have at most, together. The
        oldest are left behind first, none is cut. */
    static constexpr qsizetype mostAlong = 100'000;

    /** Both outlive the conversation. */
    Conversation(AIService &ai, const KeychainHelper &keychain) : ai_(ai), keychain_(keychain) {}

    /** An answer is being shown. */
    bool shown() const { return shown_; }
    void setShown(bool shown) { assign(shown_, shown, &Conversation::shownChanged); }
    const QString &question() const { return question_; }
    void setQuestion(const QString &question) {
        assign(question_, question, &Conversation::questionChanged);
    }
    const QString &response() const { return response_; }
    void setResponse(const QString &text);
    /** What else there is to say of the answer or of its failure; empty mostly. */
    const QString &advice() const { return advice_; }
    /** The answer and below it the advice, as people see them. */
    const QString &text() const;
    /** An answer is streaming. */
    bool busy() const { return busy_; }
    void setBusy(bool busy) { assign(busy_, busy, &Conversation::busyChanged); }
    /** What is shown as the answer is no answer but says what went wrong. */
    bool failed() const { return failed_; }
    /** How many turns followUp() takes along. Absent where there is nothing to ask on about; zero:
        the answer shown is too long to go along. */
    std::optional<int> turnsAlong() const { return turnsAlong_; }

    /** The desktop's prompt for the keyring's password, which had taken the panel's place, is gone
        and there is something to read. */
    std::function<void()> onPrompted;

    /** Shows the answer to a question as it comes, or what went wrong with it. An earlier answer
        that is still coming is appended to the same text. */
    void ask(const QString &question);
    /** The same with the turns before it. An earlier answer that is still coming is stopped. */
    void followUp(const QString &question);
    /** Asks the question of the answer shown once more, with the turns that it went with. */
    void askAgain();
    /** Ends the answer that is coming. What has come stays; without any, as leave() does. */
    void stop();
    /** Shows no answer any more, and ends the one that is coming. */
    void leave();
    /** The same, and forgets everything. */
    void reset();

Q_SIGNALS:
    void shownChanged();
    void questionChanged();
    void responseChanged();
    void adviceChanged();
    void busyChanged();
    void failedChanged();
    void turnsAlongChanged();

private:
    template <typename Value>
    void assign(Value &field, const Value &value, void (Conversation::*changed)()) {
        if (field == value)
            return;
        field = value;
        (this->*changed)();
    }
    void setAdvice(const QString &text) { assign(advice_, text, &Conversation::adviceChanged); }
    void setFailed(bool failed);
    enum class Along { Nothing, Turns };
    void begin(const QString &question, Along along);
    void end();
    bool isTurn() const { return !failed_ && !response_.isEmpty(); }
    void keepTurn();
    std::size_t turnsThatFit(qsizetype room) const;
    void countTurns();

    AIService &ai_;
    const KeychainHelper &keychain_;
    bool shown_ = false;
    QString question_;
    QString response_;
    QString advice_;
    mutable QString text_; ///< made when asked for, where there is advice
    bool busy_ = false;
    bool failed_ = false;
    Along along_ = Along::Nothing;  ///< what the question took along
    std::vector<chat::Turn> turns_; ///< before the question, the oldest first; they fit
    std::optional<int> turnsAlong_;
    std::vector<AIService::Task> answers_; ///< under way, or ended since
};

} // namespace corvid
