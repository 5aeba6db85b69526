#include "Program/StartNotice.h"

#include "Base/HotKeyHelp.h"
#include "Base/Settings.h"
#include "Platform/Notifier.h"

#include <utility>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

QString nameOf(HotKeyAnswer answer) {
    switch (answer) {
    case HotKeyAnswer::Obtained:
        return u"ready"_s;
    case HotKeyAnswer::Taken:
        return u"taken"_s;
    case HotKeyAnswer::NoPortal:
        return u"noPortal"_s;
    case HotKeyAnswer::NotOffered:
        return u"notOffered"_s;
    case HotKeyAnswer::Refused:
        return u"refused"_s;
    case HotKeyAnswer::WithoutKey:
        return u"withoutKey"_s;
    case HotKeyAnswer::Silent:
        return u"silent"_s;
    }
    return {};
}

QString textOf(const HotKeyHelp &help, bool isFirst) {
    if (help.works())
        return u"%1 shows it."_s.arg(help.name);
    if (help.free) {
        const QString way =
            isFirst ? u"show Corvid, and press Return."_s : u"take it in Corvid's settings."_s;
        return help.why + u" %1 is free: "_s.arg(help.freeName) + way;
    }
    if (help.line.isEmpty())
        return help.why + u' ' + help.remedy;
    // A notification has room for few words, and nothing can be copied from it.
    return help.why + (isFirst ? u" Click here, or run corvid: it says what to do."_s
                               : u" Corvid's settings say what to do."_s);
}

} // namespace

StartNotice::StartNotice(UserDefaults &defaults, Notifier &notifier, Start start,
                         std::function<void()> show)
    : defaults_(defaults), notifier_(notifier), isFirst_(start == Start::First),
      show_(std::move(show)) {}

void StartNotice::hotKeyAnswered(const HotKeyHelp &help) {
    const bool wasFirst = std::exchange(isFirst_, false);
    // A portal that is silent may be asking the user just now.
    const bool isTrouble = !help.works() && help.answer != HotKeyAnswer::Silent;
    const QString reason = nameOf(*help.answer);
    if (said_.contains(reason) || !(wasFirst || isTrouble) ||
        settings::noticesGiven(defaults_).contains(reason))
        return;
    said_.append(reason);
    QString title = u"Corvid has no hot key"_s;
    if (wasFirst)
        title = help.works() ? u"Corvid is ready"_s : u"Corvid is ready, without a hot key"_s;
    notifier_.notify(
        {title, textOf(help, wasFirst), u"Show Corvid"_s, show_,
         [&defaults = defaults_, reason] { settings::addNoticeGiven(defaults, reason); }});
}

} // namespace corvid
