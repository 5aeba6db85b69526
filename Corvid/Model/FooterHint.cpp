#include "Model/FooterHint.h"

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

QString askingOn(int turns) {
    if (turns == 0)
        return u"Shift+Return asks on without this answer, which is too long"_s;
    if (turns == 1)
        return u"Shift+Return asks on, 1 turn goes along"_s;
    return u"Shift+Return asks on, %1 turns go along"_s.arg(turns);
}

} // namespace

QString FooterHint::text() const {
    const bool isQuestion = query.kind == Query::Kind::Ask;
    const bool asksOn = answering && turnsAlong;
    QStringList hints;
    if (isQuestion && selected && std::holds_alternative<OpenSettings>(selected->action))
        hints.append(query.object.isEmpty() ? u"Return does nothing before a question is typed"_s
                                            : u"Return opens the settings"_s);
    else if (namesJustSent && !(asksOn && !busy)) // to be read while the answer comes
        return u"Names of your apps and projects go along (see Settings)"_s;
    if (answering && choosesRows)
        hints.append(u"↑↓ choose another"_s);
    if (asksOn)
        hints.append(askingOn(*turnsAlong));
    return hints.join(u"  ·  "_s);
}

} // namespace corvid
