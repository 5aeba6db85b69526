#include "SettingsView.h"

#include "Base/Settings.h"
#include "HotKeyManager.h"
#include "KeychainHelper.h"
#include "Platform/FolderDialog.h"
#include "ProjectIndex.h"
#include "Settings/FormWidgets.h"
#include "Settings/OwnFolderDialog.h"

#include <QBoxLayout>
#include <QCheckBox>
#include <QFileDialog>
#include <QGridLayout>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>

#include <algorithm>
#include <utility>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int margin = 18;
constexpr int sectionGap = 14;
constexpr int saveBarPadding = 10;
constexpr int rowPaddingX = 12;
constexpr int rowPaddingY = 6;
constexpr int fieldGap = 8;
constexpr int labelGap = 14;

const QString promptOfDialog = u"Add"_s;

/** A row of a section, its children side by side. */
template <typename... Children>
QWidget *makeRow(Children... children) {
    auto *row = new QWidget;
    auto *layout = new QHBoxLayout(row);
    layout->setContentsMargins(rowPaddingX, rowPaddingY, rowPaddingX, rowPaddingY);
    layout->setSpacing(labelGap);
    (layout->addWidget(children), ...);
    return row;
}

// Buttons in a form get the keyboard by Tab only where they ask for it themselves.
QPushButton *makeButton(const QString &text) {
    auto *button = new QPushButton(text);
    button->setFocusPolicy(Qt::StrongFocus);
    return button;
}

} // namespace

SettingsView::SettingsView(Environment environment, QWidget *parent)
    : QWidget(parent), environment_(std::move(environment)),
      recorder_([this](const HotKey &hotKey) { keepHotKey(hotKey); }) {
    scrollArea_ = new QScrollArea;
    scrollArea_->setFrameShape(QFrame::NoFrame);
    scrollArea_->setFocusPolicy(Qt::NoFocus);
    scrollArea_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scrollArea_->setWidgetResizable(true);
    scrollArea_->setWidget(makeForm());
    // The scroll bar takes its place from the margin, so that nothing moves when it appears.
    const QScrollBar *scrollBar = scrollArea_->verticalScrollBar();
    connect(scrollBar, &QScrollBar::rangeChanged, this, [this, scrollBar](int /*least*/, int most) {
        const int taken = most > 0 ? scrollBar->sizeHint().width() : 0;
        scrollArea_->widget()->layout()->setContentsMargins(
            margin, margin, std::max(0, margin - taken), margin / 2);
    });
    // The window's own ground shows through.
    scrollArea_->viewport()->setAutoFillBackground(false);
    scrollArea_->widget()->setAutoFillBackground(false);

    saveButton_ = makeButton(u"&Save"_s);
    saveButton_->setDefault(true);
    connect(saveButton_, &QPushButton::clicked, this, &SettingsView::save);
    auto *saveBar = new QHBoxLayout;
    saveBar->setContentsMargins(margin, saveBarPadding, margin, saveBarPadding);
    saveBar->addStretch();
    saveBar->addWidget(saveButton_);

    auto *whole = new QVBoxLayout(this);
    whole->setContentsMargins(0, 0, 0, 0);
    whole->setSpacing(0);
    whole->addWidget(scrollArea_, 1);
    whole->addWidget(makeHairline());
    whole->addLayout(saveBar);

    connect(&environment_.projects, &ProjectIndex::projectsChanged, this,
            &SettingsView::showProjectCount);
    environment_.hotKeys.onObtainedChange = [this] { showHotkeyHint(); };
    showRecording();
}

SettingsView::~SettingsView() {
    environment_.hotKeys.onObtainedChange = nullptr;
}

QWidget *SettingsView::makeForm() {
    auto *form = new QWidget;
    auto *sections = new QVBoxLayout(form);
    sections->setContentsMargins(margin, margin, margin, margin / 2);
    sections->setSpacing(sectionGap);
    sections->addWidget(makeHotkeySection());
    sections->addWidget(makeAISection());
    sections->addWidget(makeFoldersSection());
    sections->addStretch();
    return form;
}

FormSection *SettingsView::makeHotkeySection() {
    hotkeyText_ = new QLabel;
    hotkeyText_->setTextFormat(Qt::PlainText);
    hotkeyText_->setAccessibleDescription(u"Hotkey"_s); // its name is what it says
    recordButton_ = makeButton({});
    connect(recordButton_, &QPushButton::clicked, this, [this] {
        if (recording())
            stopRecording();
        else
            startRecording();
    });
    hotkeyHint_ = makeCaption({});
    hotkeyHint_->setContentsMargins(rowPaddingX, 0, rowPaddingX, rowPaddingY);

    auto *row = new QWidget;
    auto *lines = new QVBoxLayout(row);
    lines->setContentsMargins(0, 0, 0, 0);
    lines->setSpacing(0);
    QWidget *hotkey = makeRow(hotkeyText_, recordButton_);
    static_cast<QHBoxLayout *>(hotkey->layout())->setStretch(0, 1);
    lines->addWidget(hotkey);
    lines->addWidget(hotkeyHint_);
    hotkeyHint_->hide();

    auto *section = new FormSection(u"Hotkey"_s);
    section->addRow(row);
    return section;
}

FormSection *SettingsView::makeAISection() {
    aiEnabled_ = new QCheckBox(u"&Enable AI features (`ai` prefix)"_s);
    auto *fields = new QWidget;
    auto *grid = new QGridLayout(fields);
    grid->setContentsMargins(rowPaddingX, fieldGap, rowPaddingX, fieldGap);
    grid->setHorizontalSpacing(labelGap);
    grid->setVerticalSpacing(fieldGap);
    const auto addField = [grid](const QString &text) {
        auto *field = new QLineEdit;
        auto *label = new QLabel(text);
        label->setBuddy(field);
        const int row = grid->rowCount();
        grid->addWidget(label, row, 0);
        grid->addWidget(field, row, 1);
        return field;
    };
    baseURL_ = addField(u"Base &URL"_s);
    model_ = addField(u"&Model"_s);
    apiKey_ = addField(u"A&PI key (stored in Keychain)"_s);
    apiKey_->setEchoMode(QLineEdit::Password);
    grid->setColumnStretch(1, 1);

    QLabel *caption =
        makeCaption(u"Any OpenAI-compatible endpoint: OpenAI, OpenRouter, Ollama "
                    "(http://localhost:11434/v1), LM Studio, Groq.\n"
                    "`ai <question>` answers inline · `ai open my web project` launches it."_s);
    auto *section = new FormSection(u"AI — bring your own model"_s);
    section->addRow(makeRow(aiEnabled_));
    section->addRow(fields);
    section->addRow(makeRow(caption));
    return section;
}

FormSection *SettingsView::makeFoldersSection() {
    addButton_ = makeButton(u"&Add folder..."_s);
    connect(addButton_, &QPushButton::clicked, this, &SettingsView::pickFolder);
    projectCount_ = new QLabel;
    projectCount_->setForegroundRole(QPalette::PlaceholderText);
    projectCount_->setAlignment(Qt::AlignTrailing | Qt::AlignVCenter);
    QWidget *row = makeRow(addButton_, projectCount_);
    static_cast<QHBoxLayout *>(row->layout())->setStretch(1, 1);
    folders_ = new FormSection(u"Project folders"_s);
    folders_->addRow(row);
    return folders_;
}

void SettingsView::load() {
    const UserDefaults &defaults = environment_.defaults;
    baseURL_->setText(settings::aiBaseURL(defaults));
    model_->setText(settings::aiModel(defaults));
    aiEnabled_->setChecked(settings::aiEnabled(defaults));
    apiKey_->setModified(false);
    loadKey();
    QString hotkey;
    if (const std::optional<HotKey> stored = settings::storedHotKey(defaults))
        hotkey = HotKeyManager::describe(stored->keyCode, stored->modifiers);
    hotkeyText_->setText(hotkey);
    roots_ = environment_.projects.roots();
    showRoots();
    showProjectCount();
    showHotkeyHint();
}

void SettingsView::loadKey() {
    if (apiKey_->isModified())
        return;
    apiKey_->setText(environment_.keychain.get(settings::aiKeyAccount).value_or(QString()));
}

void SettingsView::save() {
    UserDefaults &defaults = environment_.defaults;
    settings::setAiBaseURL(defaults, baseURL_->text());
    settings::setAiModel(defaults, model_->text());
    settings::setAiEnabled(defaults, aiEnabled_->isChecked());
    // Nobody can tell a field that was cleared from a key that could not be read.
    if (!apiKey_->text().isEmpty())
        environment_.keychain.save(settings::aiKeyAccount, apiKey_->text());
    changeRoots(roots_);
    saved_ = true;
    window()->close();
}

void SettingsView::startRecording() {
    recorder_.start();
    if (isVisible())
        environment_.hotKeys.pause();
    showRecording();
}

void SettingsView::stopRecording() {
    recorder_.stop();
    environment_.hotKeys.resume();
    showRecording();
}

void SettingsView::keepHotKey(const HotKey &hotKey) {
    settings::setHotKey(environment_.defaults, hotKey);
    hotkeyText_->setText(HotKeyManager::describe(hotKey.keyCode, hotKey.modifiers));
    recorder_.stop();
    showRecording();
    if (environment_.onHotkeyChanged)
        environment_.onHotkeyChanged();
    // Nothing is left to resume where that registered the new one.
    environment_.hotKeys.resume();
}

void SettingsView::showRecording() {
    recordButton_->setText(recording() ? u"Press a key combo..."_s : u"&Change"_s);
}

void SettingsView::showHotkeyHint() {
    const std::optional<HotKey> hotKey = environment_.hotKeys.registered();
    const bool refused = hotKey && environment_.hotKeys.obtained() == false;
    if (refused) {
        const QString name = HotKeyManager::describe(hotKey->keyCode, hotKey->modifiers).trimmed();
        const QString hint =
            u"The desktop does not give Corvid "_s + name +
            u". Bind the command \"corvid --toggle\" to a key in the desktop's settings, or try "
            "another combination here."_s;
        // Lines break behind a hyphen, unless a word joiner follows.
        hotkeyHint_->setText(QString(hint).replace(u"--"_s, u"--\u2060"_s));
        hotkeyHint_->setAccessibleName(hint);
    }
    hotkeyHint_->setVisible(refused);
}

void SettingsView::showProjectCount() {
    projectCount_->setText(QString::number(environment_.projects.projects().size()) +
                           u" projects indexed"_s);
}

void SettingsView::showRoots() {
    while (folders_->row(0) != addButton_->parentWidget())
        folders_->takeRow(0)->deleteLater(); // one of its buttons may be at work
    for (qsizetype i = 0; i < roots_.size(); ++i) {
        auto *path = new ElidedLabel(roots_[i]);
        QPushButton *remove = makeButton(u"Remove"_s);
        remove->setAccessibleName(u"Remove "_s + roots_[i]);
        connect(remove, &QPushButton::clicked, this,
                [this, root = roots_[i]] { removeRoot(root); });
        QWidget *row = makeRow(path, remove);
        static_cast<QHBoxLayout *>(row->layout())->setStretch(0, 1);
        folders_->addRow(row, static_cast<int>(i));
    }
    putTabsInOrder();
}

void SettingsView::putTabsInOrder() {
    QWidget *last = apiKey_;
    const auto next = [&last](QWidget *widget) {
        setTabOrder(last, widget);
        last = widget;
    };
    for (int i = 0; i < roots_.size(); ++i)
        next(folders_->row(i)->findChild<QPushButton *>());
    next(addButton_);
    next(saveButton_);
}

void SettingsView::changeRoots(const QStringList &roots) {
    roots_ = roots;
    settings::setProjectRoots(environment_.defaults, roots_);
    environment_.projects.load();
}

void SettingsView::removeRoot(const QString &path) {
    const qsizetype place = roots_.indexOf(path);
    QStringList left = roots_;
    left.removeAll(path);
    changeRoots(left);
    showRoots();
    // The keyboard stays where it was: on the next row's button.
    if (place < 0)
        return;
    QWidget *row = folders_->row(static_cast<int>(std::min(place, roots_.size())));
    row->findChild<QPushButton *>()->setFocus();
}

void SettingsView::pickFolder() {
    addButton_->setEnabled(false);
    const auto done = [self = QPointer(this)](const std::optional<QStringList> &folders) {
        if (!self)
            return;
        if (folders)
            self->addRoots(*folders);
        else
            self->pickFolderInOurDialog();
    };
    environment_.folderDialog.choose(*window()->windowHandle(), promptOfDialog, done);
}

void SettingsView::pickFolderInOurDialog() {
    QFileDialog *dialog = makeOwnFolderDialog(this, promptOfDialog);
    connect(dialog, &QFileDialog::finished, this, [this, dialog](int result) {
        addRoots(result == QDialog::Accepted ? dialog->selectedFiles() : QStringList());
    });
    dialog->open();
}

void SettingsView::addRoots(const QStringList &folders) {
    addButton_->setEnabled(true);
    addButton_->setFocus(); // which went elsewhere meanwhile
    if (folders.isEmpty())
        return;
    changeRoots(roots_ + folders);
    showRoots();
}

void SettingsView::showEvent(QShowEvent *event) {
    QWidget::showEvent(event);
    if (event->spontaneous())
        return;
    load();
    if (recording())
        environment_.hotKeys.pause();
    recordButton_->setFocus();
    scrollArea_->ensureVisible(0, 0);
}

// Recording goes on, but whoever closed the window wants the hot key.
void SettingsView::hideEvent(QHideEvent *event) {
    QWidget::hideEvent(event);
    if (!event->spontaneous())
        environment_.hotKeys.resume();
}

void SettingsView::keyPressEvent(QKeyEvent *event) {
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
        saveButton_->click();
    else
        QWidget::keyPressEvent(event);
}

} // namespace corvid
