#include "Settings/AISection.h"

#include "Base/Settings.h"
#include "Base/Text.h"
#include "Base/Wipe.h"
#include "Chat/ChatProtocol.h"
#include "KeychainHelper.h"

#include <QAbstractItemView>
#include <QAccessible>
#include <QBoxLayout>
#include <QCheckBox>
#include <QCompleter>
#include <QGridLayout>
#include <QLineEdit>
#include <QMenu>
#include <QPointer>
#include <QPushButton>
#include <QRegularExpression>
#include <QStringListModel>
#include <QToolButton>

#include <utility>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int fieldGap = 8;
constexpr int buttonGap = 6;

/** Says what a list opens for. */
QToolButton *makeListButton(const QString &name) {
    auto *button = new QToolButton;
    button->setArrowType(Qt::DownArrow);
    button->setFocusPolicy(Qt::StrongFocus);
    button->setAccessibleName(name);
    button->setToolTip(name);
    return button;
}

/** A long word of a server's would widen the form. */
QString breakable(const QString &text) {
    static const QRegularExpression longRuns(u"(\\S{24})(?=\\S)"_s);
    return QString(text).replace(longRuns, u"\\1\u200b"_s);
}

} // namespace

AISection::AISection(UserDefaults &defaults, KeychainHelper &keychain, AIService &ai,
                     std::vector<KnownService> services)
    : FormSection(u"AI — bring your own model"_s), defaults_(defaults), keychain_(keychain),
      ai_(ai), services_(std::move(services)),
      enabled_(new QCheckBox(u"&Enable AI features (`ai` prefix)"_s)),
      serviceMenu_(new QMenu(this)), modelList_(new QCompleter(this)) {
    addRow(makeRow({enabled_}));
    makeFields();
    addRow(makeRow(
        {makeCaption(u"Any OpenAI-compatible endpoint: OpenAI, OpenRouter, Ollama "
                     "(http://localhost:11434/v1), LM Studio, Groq.\n"
                     "`ai <question>` answers inline · `ai open my web project` launches it."_s)}));
    makeTest();
    makeNamesSwitch();
}

AISection::~AISection() {
    wipe(replacedKey_);
}

QLineEdit *AISection::addField(QWidget *fields, const QString &text, QToolButton *button) {
    auto *grid = static_cast<QGridLayout *>(fields->layout());
    auto *field = new QLineEdit;
    auto *label = new QLabel(text);
    label->setBuddy(field);
    const int row = grid->rowCount();
    grid->addWidget(label, row, 0);
    grid->addWidget(field, row, 1, 1, button ? 1 : 2);
    if (button)
        grid->addWidget(button, row, 2);
    // What was said was said of something else.
    connect(field, &QLineEdit::textEdited, this, [this] {
        request_.cancel();
        say({});
    });
    return field;
}

void AISection::makeFields() {
    auto *fields = new QWidget;
    auto *grid = new QGridLayout(fields);
    grid->setContentsMargins(rowPaddingX, fieldGap, rowPaddingX, fieldGap);
    grid->setHorizontalSpacing(buttonGap);
    grid->setVerticalSpacing(fieldGap);
    grid->setColumnStretch(1, 1);

    QToolButton *serviceButton = makeListButton(u"Services to choose from"_s);
    // As a menu of the button's own it would have a second arrow.
    connect(serviceButton, &QToolButton::clicked, this, [this, serviceButton] {
        serviceMenu_->popup(serviceButton->mapToGlobal(serviceButton->rect().bottomLeft()));
    });
    connect(serviceMenu_, &QMenu::aboutToShow, this, &AISection::offerServices);
    connect(serviceMenu_, &QMenu::aboutToHide, this, [this] { searches_.clear(); });
    baseURL_ = addField(fields, u"Base &URL"_s, serviceButton);

    modelButton_ = makeListButton(u"Models that the endpoint has"_s);
    connect(modelButton_, &QToolButton::clicked, this, &AISection::loadModels);
    model_ = addField(fields, u"&Model"_s, modelButton_);
    modelList_->setModel(new QStringListModel(modelList_));
    modelList_->setFilterMode(Qt::MatchContains);
    modelList_->setCaseSensitivity(Qt::CaseInsensitive);
    modelList_->setMaxVisibleItems(10);
    model_->setCompleter(modelList_);

    apiKey_ = addField(fields, u"A&PI key (stored in Keychain)"_s, nullptr);
    apiKey_->setEchoMode(QLineEdit::Password);
    addRow(fields);
    // The lists are a help for those who want it: the fields follow each other.
    setTabOrder(baseURL_, model_);
    setTabOrder(model_, apiKey_);
    setTabOrder(apiKey_, serviceButton);
    setTabOrder(serviceButton, modelButton_);
}

void AISection::makeTest() {
    testButton_ = makeButton(u"&Test"_s);
    connect(testButton_, &QPushButton::clicked, this, &AISection::test);
    message_ = makeCaption();
    message_->setForegroundRole(QPalette::WindowText);
    message_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto *row = makeRow({testButton_, message_});
    row->layout()->setAlignment(testButton_, Qt::AlignTop);
    addRow(row);
}

void AISection::makeNamesSwitch() {
    sendsNames_ = new QCheckBox(u"Send the &names of applications and projects"_s);
    auto *row = makeRow({sendsNames_});
    QLabel *caption = makeCaption(
        u"A line that begins with `ai ` goes to the endpoint while you type it, with the names of "
        u"all "
        "your applications and projects, so that it can open what you mean. Answers need none of "
        "that."_s);
    auto *lines = new QVBoxLayout;
    lines->addWidget(caption);
    caption->setContentsMargins(rowPaddingX, 0, rowPaddingX, rowPaddingY);
    auto *whole = new QWidget;
    auto *layout = new QVBoxLayout(whole);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(row);
    layout->addLayout(lines);
    addRow(whole);
}

void AISection::say(const QString &text) {
    setCaption(message_, text);
    message_->setText(breakable(message_->text()));
    if (text.isEmpty())
        return;
    QAccessibleEvent event(message_, QAccessible::Alert);
    QAccessible::updateAccessibility(&event);
    Q_EMIT said(message_);
}

void AISection::load() {
    baseURL_->setText(settings::aiBaseURL(defaults_));
    model_->setText(settings::aiModel(defaults_));
    enabled_->setChecked(settings::aiEnabled(defaults_));
    sendsNames_->setChecked(settings::aiSendsNames(defaults_));
    request_.cancel();
    say({});
    wipe(replacedKey_);
    replacedKey_.clear();
    if (!savingKey_)
        apiKey_->setModified(false);
    loadKey();
}

void AISection::loadKey() {
    const bool locked = keychain_.locked(settings::aiKeyAccount);
    apiKey_->setPlaceholderText(locked ? u"In the keyring, which is locked"_s : QString());
    if (savingKey_ || apiKey_->isModified())
        return;
    apiKey_->setText(chat::trimmedKey(keychain_.get(settings::aiKeyAccount).value_or(QString())));
}

bool AISection::save() {
    request_.cancel();
    QString key = chat::trimmedKey(apiKey_->text());
    if (!chat::canBeSent(key)) {
        wipe(key);
        apiKey_->setFocus();
        say(chat::unsendableKeyText());
        return false;
    }
    settings::setAiBaseURL(defaults_, baseURL_->text());
    settings::setAiModel(defaults_, model_->text());
    settings::setAiEnabled(defaults_, enabled_->isChecked());
    settings::setAiSendsNames(defaults_, sendsNames_->isChecked());
    // Nobody can tell a field that was cleared from a key that could not be read.
    if (key.isEmpty())
        return true;
    savingKey_ = true;
    apiKey_->setText(key); // and no longer modified
    keychain_.save(settings::aiKeyAccount, key, [self = QPointer(this)](SecretStore::Saved saved) {
        if (self)
            self->keySaved(saved == SecretStore::Saved::Locked);
    });
    wipe(key);
    return true;
}

void AISection::keySaved(bool stayedLocked) {
    if (!stayedLocked) {
        savingKey_ = false;
        loadKey();
        return;
    }
    // Whoever shows the form for this has it load.
    Q_EMIT keyNotStored();
    savingKey_ = false;
    apiKey_->setModified(true);
    say(u"The API key is not stored: the keyring stayed locked. Press Save again and unlock it "
        u"when "
        "the desktop asks for its password."_s);
}

AIService::Endpoint AISection::entered() const {
    return {baseURL_->text(), model_->text(), apiKey_->text()};
}

void AISection::offerServices() {
    searches_.clear();
    serviceMenu_->clear();
    for (const KnownService &service : services_) {
        // What follows a tab stands at the other side of the menu.
        QAction *action = serviceMenu_->addAction(service.name);
        connect(action, &QAction::triggered, this, [this, &service] { choose(service); });
        if (service.localPort == 0)
            continue;
        action->setText(service.name + u"\tlooking for it…"_s);
        const AIService::Endpoint here{u"http://127.0.0.1:%1/v1"_s.arg(service.localPort), {}, {}};
        const auto found = [action, name = service.name](const QStringList & /*models*/,
                                                         const QString &problem) {
            action->setText(name + (problem.isEmpty() ? u"\trunning on this machine"_s
                                                      : u"\tnot running here"_s));
        };
        searches_.push_back(ai_.models(here, found));
    }
}

void AISection::choose(const KnownService &service) {
    request_.cancel();
    baseURL_->setText(service.baseURL);
    const bool local = service.localPort != 0;
    const bool hasPlaceholder = apiKey_->text() == chat::placeholderKey();
    if (local != hasPlaceholder) {
        // Another one's key is none of a local server's business.
        const QString before = std::exchange(replacedKey_, local ? apiKey_->text() : QString());
        apiKey_->setText(local ? chat::placeholderKey() : before);
        apiKey_->setModified(true);
    }
    if (local)
        say(u"%1 needs no key: a placeholder takes its place when you save. Now choose a model."_s
                .arg(service.name));
    else if (apiKey_->text().isEmpty())
        say(u"Now enter your API key of %1 and choose a model."_s.arg(service.name));
    else
        say(u"Now choose a model. The API key must be one of %1's."_s.arg(service.name));
}

void AISection::loadModels() {
    say(u"Asking for the models…"_s);
    request_ = ai_.models(entered(), [this](const QStringList &models, const QString &problem) {
        say(displayText(problem));
        if (problem.isEmpty())
            showModels(models);
    });
}

void AISection::showModels(const QStringList &models) {
    static_cast<QStringListModel *>(modelList_->model())->setStringList(models);
    // Whoever went on meanwhile is not called back.
    if (!modelButton_->hasFocus() && !model_->hasFocus())
        return;
    model_->setFocus();
    modelList_->setCompletionPrefix({}); // all of them, whatever stands there
    modelList_->complete();
}

void AISection::test() {
    const bool fromKeyring = apiKey_->text().isEmpty();
    if (!fromKeyring || !keychain_.locked(settings::aiKeyAccount)) {
        sendTest();
        return;
    }
    keychain_.unlock(settings::aiKeyAccount, [self = QPointer(this)] {
        if (!self)
            return;
        self->loadKey();
        if (self->keychain_.locked(settings::aiKeyAccount))
            self->say(chat::lockedText());
        else
            self->sendTest();
    });
}

void AISection::sendTest() {
    const AIService::Endpoint endpoint = entered();
    if (chat::trimmedKey(endpoint.key).isEmpty()) {
        say(u"There is no API key to send: enter one first."_s);
        return;
    }
    say(u"Asking…"_s);
    request_ = ai_.test(endpoint, [this](const QString &words) { say(displayText(words)); });
}

} // namespace corvid
