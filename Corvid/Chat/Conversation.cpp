#include "Chat/Conversation.h"

#include "Base/Settings.h"
#include "Base/Text.h"
#include "KeychainHelper.h"

#include <memory>
#include <utility>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

qsizetype sizeOf(const chat::Turn &turn) {
    return turn.question.size() + turn.answer.size();
}

} // namespace

void Conversation::setResponse(const QString &text) {
    assign(response_, text, &Conversation::responseChanged);
    countTurns();
}

void Conversation::setFailed(bool failed) {
    assign(failed_, failed, &Conversation::failedChanged);
    countTurns();
}

const QString &Conversation::text() const {
    if (advice_.isEmpty())
        return response_;
    return text_ = response_.isEmpty() ? advice_ : response_ + u"\n\n"_s + advice_;
}

void Conversation::ask(const QString &question) {
    keepTurn();
    begin(question, Along::Nothing);
}

void Conversation::followUp(const QString &question) {
    answers_.clear(); // or the rest of it would be appended to the next
    keepTurn();
    begin(question, Along::Turns);
}

void Conversation::askAgain() {
    begin(QString(question_), along_);
}

void Conversation::begin(const QString &question, Along along) {
    along_ = along;
    setShown(true);
    setBusy(true);
    setQuestion(question);
    setResponse(QString());
    setFailed(false);
    setAdvice(QString());
    std::erase_if(answers_, [](const AIService::Task &task) { return !task.active(); });
    // Whatever comes first, it comes once the prompt is gone.
    const auto prompted = std::make_shared<bool>(keychain_.locked(settings::aiKeyAccount));
    const auto comeBack = [this, prompted] {
        if (std::exchange(*prompted, false) && onPrompted)
            onPrompted();
    };
    const auto append = [this, comeBack](const QString &element) {
        comeBack();
        const QString text = displayText(element);
        if (text.isEmpty())
            return;
        if (response_.isEmpty() && chat::isFailureText(text))
            setFailed(true);
        // In place: a long answer is not copied for every word of it.
        response_ += text;
        Q_EMIT responseChanged();
        countTurns();
    };
    const auto finish = [this, comeBack](const std::optional<QString> &error,
                                         const QString &advice) {
        comeBack();
        if (error) {
            setFailed(true);
            setResponse(u"Error: "_s + displayText(*error) +
                        u"\n\nSet your API key in Settings (menu bar icon)."_s);
        }
        setAdvice(displayText(advice));
        setBusy(false);
    };
    answers_.push_back(ai_.stream(question, append, finish,
                                  along == Along::Turns ? turns_ : std::vector<chat::Turn>()));
}

void Conversation::stop() {
    if (response_.isEmpty()) {
        leave();
        return;
    }
    answers_.clear();
    setBusy(false);
}

void Conversation::leave() {
    if (!busy_)
        keepTurn();
    setShown(false);
    end();
}

void Conversation::reset() {
    turns_.clear();
    end();
    setShown(false);
    setQuestion(QString());
}

void Conversation::end() {
    answers_.clear();
    setBusy(false);
    setResponse(QString());
    setFailed(false);
    setAdvice(QString());
}

void Conversation::keepTurn() {
    if (!isTurn())
        return;
    turns_.push_back({question_, response_});
    turns_.erase(turns_.begin(),
                 turns_.end() - static_cast<std::ptrdiff_t>(turnsThatFit(mostAlong)));
}

// How many of the turns before, from the newest on, have room.
std::size_t Conversation::turnsThatFit(qsizetype room) const {
    std::size_t count = 0;
    for (; count < turns_.size(); ++count) {
        room -= sizeOf(turns_[turns_.size() - 1 - count]);
        if (room < 0)
            break;
    }
    return count;
}

// As many as there will be once the answer shown is one of them.
void Conversation::countTurns() {
    std::optional<int> count;
    if (isTurn()) {
        const qsizetype room = mostAlong - question_.size() - response_.size();
        count = room < 0 ? 0 : 1 + static_cast<int>(turnsThatFit(room));
    } else if (!turns_.empty()) {
        count = static_cast<int>(turns_.size());
    }
    assign(turnsAlong_, count, &Conversation::turnsAlongChanged);
}

} // namespace corvid
