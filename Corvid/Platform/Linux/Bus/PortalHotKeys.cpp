#include "Platform/Linux/Bus/PortalHotKeys.h"

#include "Base/VirtualKeys.h"
#include "Platform/Linux/Bus/PortalReplies.h"
#include "Platform/Linux/DesktopSettings.h"

#include <algorithm>
#include <utility>

namespace corvid {

using namespace Qt::Literals::StringLiterals;
using std::chrono::steady_clock;

namespace {

constexpr auto connectionName = "corvid hot keys"_L1;
constexpr auto shortcutsInterface = "org.freedesktop.portal.GlobalShortcuts"_L1;
constexpr auto sessionInterface = "org.freedesktop.portal.Session"_L1;
constexpr auto registryInterface = "org.freedesktop.host.portal.Registry"_L1;

constexpr auto applicationId = "app.corvid.Launcher"_L1; // its desktop file is named so
// Desktops keep the user's bindings by it.
constexpr auto sessionToken = "corvid"_L1;

} // namespace

PortalHotKeys::PortalHotKeys(TokenReceiver receiveToken, std::chrono::milliseconds longestRepeat,
                             std::chrono::milliseconds patience)
    : receiveToken_(std::move(receiveToken)), longestRepeat_(longestRepeat) {
    registerPortalShortcuts();
    patience_.setSingleShot(true);
    patience_.setInterval(patience);
    patience_.callOnTimeout([this] { answer(HotKeyAnswer::Silent); });
}

PortalHotKeys::~PortalHotKeys() {
    portal_.reset();
    // The portal ends the session with it.
    QDBusConnection::disconnectFromBus(connectionName);
}

void PortalHotKeys::grab(const HotKey &hotKey, Callbacks callbacks) {
    want(hotKey, std::move(callbacks));
}

void PortalHotKeys::release() {
    want(std::nullopt, {});
}

void PortalHotKeys::want(const std::optional<HotKey> &hotKey, Callbacks callbacks) {
    wanted_ = hotKey;
    callbacks_ = std::move(callbacks);
    asked_ = false;
    told_.reset();
    awaitAnswer();
    if (portal_) {
        goOn();
    } else if (hotKey) {
        portal_.emplace(QDBusConnection::connectToBus(QDBusConnection::SessionBus, connectionName));
        listen();
        startPortal();
    }
}

void PortalHotKeys::dealtWith(quint32 /*time*/, NextKeys /*nextKeys*/) {
    if (std::exchange(tokenIsOut_, false))
        receiveToken_({});
}

void PortalHotKeys::listen() {
    portal_->onOwnerChange = [this](bool there) {
        if (there)
            portalAppeared();
        else
            portalVanished();
    };
    const auto on = [this](const QString &member, BusPeer::Heard heard) {
        portal_->listen(Portal::path, shortcutsInterface, member, std::move(heard));
    };
    on(u"Activated"_s, [this](const QDBusMessage &signal) {
        if (const auto event = keyEventIn(signal); event && isOurs(*event))
            press(event->activationToken);
    });
    on(u"Deactivated"_s, [this](const QDBusMessage &signal) {
        if (const auto event = keyEventIn(signal); event && isOurs(*event))
            lastPress_.reset();
    });
    on(u"ShortcutsChanged"_s, [this](const QDBusMessage &signal) {
        if (signal.signature() == "oa(sa{sv})"_L1 && state_ == State::Bound &&
            handleOf(signal.arguments()[0]) == session_)
            answerShortcuts(signal.arguments()[1]);
    });
    portal_->listen({}, sessionInterface, u"Closed"_s, [this](const QDBusMessage &signal) {
        if (!session_.isEmpty() && signal.path() == session_) {
            if (asked_)
                answer(HotKeyAnswer::Refused);
            becomeIdle();
        }
    });
}

// Does what is to be done next, unless something is under way that comes here when it is done.
void PortalHotKeys::goOn() {
    if (state_ == State::Absent)
        answer(HotKeyAnswer::NoPortal);
    else if (state_ == State::Idle && wanted_ && !asked_)
        createSession();
    else if ((state_ == State::Binding || state_ == State::Bound) && !asked_)
        closeSession();
}

void PortalHotKeys::startPortal() {
    state_ = State::Busy;
    // That the name has an owner, the bus tells before it replies; the reply is forgotten then.
    portal_->send(busMethod(u"StartServiceByName"_s, {Portal::name, 0U}),
                  [this](const QDBusMessage & /*reply*/) {
                      state_ = State::Absent;
                      goOn();
                  });
}

void PortalHotKeys::portalAppeared() {
    portal_->forgetCalls();
    state_ = State::Busy;
    awaitAnswer();
    // Older portals find it out by themselves, and have no such interface.
    const auto greeting = portal_->method(Portal::path, registryInterface, u"Register"_s,
                                          {applicationId, QVariantMap()});
    portal_->send(greeting, [this](const QDBusMessage & /*reply*/) { becomeIdle(); });
}

void PortalHotKeys::portalVanished() {
    portal_->forgetCalls();
    portal_->forgetRequest();
    session_.clear();
    asked_ = false;
    const State before = std::exchange(state_, State::Absent);
    answer(HotKeyAnswer::NoPortal);
    // It may have crashed, and nobody else may need it soon. One that leaves us without a shortcut
    // is left alone, or we would start it again and again.
    if (before == State::Bound)
        startPortal();
}

void PortalHotKeys::createSession() {
    asked_ = true;
    const std::optional<QString> trigger = triggerFor(*wanted_);
    if (!trigger) {
        answer(HotKeyAnswer::NotOffered);
        return;
    }
    trigger_ = *trigger;
    lastPress_.reset();
    state_ = State::Busy;
    // The first portals wanted the shortcuts here.
    const QVariantMap options{{u"session_handle_token"_s, sessionToken},
                              {u"shortcuts"_s, shortcuts()}};
    const auto responded = [this](Portal::Outcome outcome, const QVariantMap &results) {
        session_ = outcome == Portal::Outcome::Granted
                       ? handleOf(results.value(u"session_handle"_s))
                       : QString();
        if (asked_ && outcome == Portal::Outcome::Unknown)
            answer(HotKeyAnswer::NotOffered);
        else if (asked_ && session_.isEmpty())
            answer(HotKeyAnswer::Refused);
        if (session_.isEmpty())
            becomeIdle();
        else if (!asked_)
            closeSession();
        else if (desktopsettings::isGnome())
            findOutWhetherKept();
        else
            bindShortcut();
    };
    portal_->request(shortcutsInterface, u"CreateSession"_s, {}, options, responded);
}

// GNOME lets the user grant what it keeps for itself, and says that it is granted.
void PortalHotKeys::findOutWhetherKept() {
    const auto lookUp = [this, hotKey = *wanted_, others = callbacks_.alternatives,
                         session = session_](const std::stop_token & /*stop*/) {
        const auto isKept = [](const HotKey &each) {
            const std::optional<QString> trigger = triggerFor(each);
            return trigger && desktopsettings::isBound(*trigger);
        };
        const bool kept = isKept(hotKey);
        std::optional<HotKey> free;
        if (kept)
            if (const auto found = std::ranges::find_if_not(others, isKept); found != others.end())
                free = *found;
        const auto goOnWith = [=, this] {
            if (state_ != State::Busy || session_ != session)
                return;
            if (asked_ && !kept) {
                bindShortcut();
                return;
            }
            if (asked_ && free && callbacks_.foundFree)
                callbacks_.foundFree(*free);
            if (asked_)
                answer(HotKeyAnswer::Taken);
            closeSession();
        };
        QMetaObject::invokeMethod(&patience_, goOnWith, Qt::QueuedConnection);
    };
    tasks_.start(lookUp);
}

void PortalHotKeys::bindShortcut() {
    state_ = State::Binding;
    const QVariantList arguments{QVariant::fromValue(QDBusObjectPath(session_)), shortcuts(),
                                 u""_s};
    const auto responded = [this](Portal::Outcome outcome, const QVariantMap &results) {
        const QVariant list = results.value(u"shortcuts"_s);
        // GNOME 48 tells what it granted as if that had come to nothing.
        if (outcome == Portal::Outcome::Granted ||
            (outcome == Portal::Outcome::Ended && shortcutHasKey(list, id()))) {
            state_ = State::Bound;
            answerShortcuts(list);
        } else {
            answer(HotKeyAnswer::Refused);
            closeSession();
        }
    };
    portal_->request(shortcutsInterface, u"BindShortcuts"_s, arguments, {}, responded);
}

void PortalHotKeys::closeSession() {
    state_ = State::Busy;
    portal_->withdrawRequest();
    const auto close = portal_->method(std::exchange(session_, {}), sessionInterface, u"Close"_s);
    portal_->send(close, [this](const QDBusMessage & /*reply*/) { becomeIdle(); });
}

// There is no session, or none any more.
void PortalHotKeys::becomeIdle() {
    portal_->forgetRequest();
    session_.clear();
    state_ = State::Idle;
    goOn();
}

std::optional<QString> PortalHotKeys::triggerFor(const HotKey &hotKey) {
    const VirtualKey *const key = findKey(&VirtualKey::code, hotKey.keyCode);
    if (!key)
        return std::nullopt;
    QString trigger;
    for (const auto &[modifier, name] : {std::pair{HotKey::control, "CTRL+"_L1},
                                         {HotKey::option, "ALT+"_L1},
                                         {HotKey::shift, "SHIFT+"_L1},
                                         {HotKey::command, "LOGO+"_L1}})
        if (hotKey.modifiers & modifier)
            trigger += name;
    return trigger + QLatin1StringView(key->symbol);
}

void PortalHotKeys::press(const QByteArray &token) {
    answer(HotKeyAnswer::Obtained); // whatever was said of it
    const auto now = steady_clock::now();
    const bool again = lastPress_ && now - *lastPress_ < longestRepeat_;
    lastPress_ = now;
    if (again || !wanted_)
        return;
    if (receiveToken_ && !token.isEmpty()) {
        tokenIsOut_ = true;
        receiveToken_(token);
    }
    callbacks_.pressed(0);
}

void PortalHotKeys::awaitAnswer() {
    if (wanted_)
        patience_.start();
    else
        patience_.stop();
}

void PortalHotKeys::answer(HotKeyAnswer answer) {
    patience_.stop();
    if (wanted_ && told_ != answer) {
        told_ = answer;
        callbacks_.answered(answer);
    }
}

void PortalHotKeys::answerShortcuts(const QVariant &list) {
    if (!shortcutHasKey(list, id())) {
        answer(HotKeyAnswer::WithoutKey);
        return;
    }
    // Plasma's portal takes for granted that a new shortcut has the key that we would like, even
    // where another one has it. Its daemon knows.
    QDBusMessage question =
        QDBusMessage::createMethodCall(u"org.kde.kglobalaccel"_s, u"/kglobalaccel"_s,
                                       u"org.kde.KGlobalAccel"_s, u"shortcutKeys"_s);
    question.setArguments({QStringList{applicationId, id(), u""_s, u""_s}});
    question.setAutoStartService(false);
    portal_->send(question, [this, session = session_](const QDBusMessage &reply) {
        if (state_ == State::Bound && session_ == session)
            answer(meansNoKey(reply) ? HotKeyAnswer::WithoutKey : HotKeyAnswer::Obtained);
    });
}

// Some desktops give the key before they say so.
bool PortalHotKeys::isOurs(const PortalKeyEvent &event) const {
    return (state_ == State::Binding || state_ == State::Bound) && event.session == session_ &&
           event.shortcut == id();
}

// Of its own for each combination: to the desktop a known one has the key that it has, whatever we
// would like by now.
QString PortalHotKeys::id() const {
    return u"toggle-"_s + trigger_;
}

QVariant PortalHotKeys::shortcuts() const {
    return QVariant::fromValue(QList{PortalShortcut{
        id(), {{u"description"_s, u"Show or hide Corvid"_s}, {u"preferred_trigger"_s, trigger_}}}});
}

} // namespace corvid
