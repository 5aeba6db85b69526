#include "SettingsView.h"

#include "Base/Settings.h"
#include "HotKeyManager.h"
#include "Panel/Style.h"
#include "Platform/PanelSurface.h"
#include "Platform/UserDefaults.h"
#include "Settings/AISection.h"
#include "Settings/FlatStyle.h"
#include "Settings/FolderSection.h"
#include "Settings/FormWidgets.h"
#include "Settings/HotKeyAdvice.h"
#include "Settings/LearntSection.h"
#include "Settings/WebSearchSection.h"

#include <QApplication>
#include <QBoxLayout>
#include <QCursor>
#include <QIcon>
#include <QKeyEvent>
#include <QPainter>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QStandardPaths>
#include <QSvgRenderer>
#include <QWindow>

#include <algorithm>
#include <utility>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int margin = 18;
constexpr int sectionGap = 14;
constexpr int saveBarPadding = 10;

// As it is installed; empty where it is not. Qt would need a plug-in to draw it.
QIcon programIcon() {
    QIcon icon;
    const QString file =
        QStandardPaths::locate(QStandardPaths::GenericDataLocation,
                               u"icons/hicolor/scalable/apps/app.corvid.Launcher.svg"_s);
    if (file.isEmpty())
        return icon;
    QSvgRenderer drawing(file);
    for (const int size : {16, 24, 32, 48, 64, 128}) {
        QPixmap picture(size, size);
        picture.fill(Qt::transparent);
        QPainter painter(&picture);
        drawing.render(&painter);
        painter.end();
        icon.addPixmap(picture);
    }
    return icon;
}

} // namespace

SettingsView::SettingsView(Environment environment)
    : QWidget(nullptr, Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                           Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint),
      environment_(std::move(environment)),
      recorder_([this](const HotKey &hotKey) { keepHotKey(hotKey); }) {
    setWindowTitle(u"Corvid Settings"_s);
    // Where a window's frame and the task bar show one; Wayland takes it from the desktop entry.
    setWindowIcon(programIcon());
    setAttribute(Qt::WA_QuitOnClose, false);
    setFixedSize(480, 420);
    applyStyle();
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
    whole->setSpacing(1); // for the line between them
    whole->addWidget(scrollArea_, 1);
    whole->addLayout(saveBar);

    connect(&environment_.hotKeys, &HotKeyManager::answerChanged, this, &SettingsView::showAdvice);
    showRecording();
}

SettingsView::~SettingsView() = default;

void SettingsView::present() {
    if (!centred_) {
        const QScreen *screen = QGuiApplication::screenAt(QCursor::pos());
        if (!screen)
            screen = QGuiApplication::primaryScreen();
        if (screen) {
            QRect frame(QPoint(), size());
            frame.moveCenter(environment_.panelSurface.visibleFrame(*screen).center());
            move(frame.topLeft());
        }
        centred_ = true;
    }
    winId();                                  // makes the window if need be
    windowHandle()->installEventFilter(this); // counts once
    environment_.panelSurface.claimKeyboard(*windowHandle());
    setWindowState(windowState() & ~Qt::WindowMinimized);
    show();
    raise();
    activateWindow();
}

void SettingsView::applyStyle() {
    setPalette(style::windowPalette(QApplication::palette()));
    setFont(style::font());
}

QWidget *SettingsView::makeForm() {
    auto *form = new QWidget;
    auto *sections = new QVBoxLayout(form);
    sections->setContentsMargins(margin, margin, margin, margin / 2);
    sections->setSpacing(sectionGap);
    sections->addWidget(makeHotkeySection());
    sections->addWidget(makeAISection());
    folders_ =
        new FolderSection(environment_.defaults, environment_.projects, environment_.folderDialog);
    sections->addWidget(folders_);
    webSearch_ = new WebSearchSection(environment_.defaults);
    sections->addWidget(webSearch_);
    learnt_ = new LearntSection(environment_.stats);
    sections->addWidget(learnt_);
    sections->addStretch();
    return form;
}

QWidget *SettingsView::makeHotkeySection() {
    hotkeyText_ = new PlaceholderLabel;
    hotkeyText_->setTextFormat(Qt::PlainText);
    hotkeyText_->setAccessibleDescription(u"Hotkey"_s); // its name is what it says
    recordButton_ = makeButton({});
    connect(recordButton_, &QPushButton::clicked, this, [this] {
        if (recording())
            stopRecording();
        else
            startRecording();
    });
    hotkeyAdvice_ = new HotKeyAdvice;
    connect(hotkeyAdvice_, &HotKeyAdvice::wanted, this, &SettingsView::keepHotKey);
    auto *section = new FormSection(u"Hotkey"_s);
    section->addRow(makeRowOver(hotkeyAdvice_, {hotkeyText_, recordButton_}));
    return section;
}

QWidget *SettingsView::makeAISection() {
    ai_ = new AISection(environment_.defaults, environment_.keychain, environment_.ai,
                        environment_.services);
    connect(ai_, &AISection::keyNotStored, this, [this] {
        if (!isVisible())
            present();
    });
    const auto show = [this](QWidget *where) { scrollArea_->ensureWidgetVisible(where); };
    // Its place is known once it is laid out.
    connect(ai_, &AISection::said, this, show, Qt::QueuedConnection);
    return ai_;
}

void SettingsView::load() {
    const UserDefaults &defaults = environment_.defaults;
    ai_->load();
    QString hotkey;
    QString inUse;
    if (const std::optional<HotKey> stored = settings::storedHotKey(defaults))
        hotkey = HotKeyManager::describe(stored->keyCode, stored->modifiers);
    else if (const std::optional<HotKey> registered = environment_.hotKeys.registered())
        inUse = HotKeyManager::describe(registered->keyCode, registered->modifiers).trimmed();
    hotkeyText_->setText(hotkey);
    hotkeyText_->setPlaceholder(inUse);
    folders_->load();
    webSearch_->load();
    learnt_->load();
    showAdvice();
}

void SettingsView::loadKey() {
    ai_->loadKey();
}

void SettingsView::save() {
    if (!ai_->save())
        return;
    folders_->save();
    webSearch_->save();
    saved_ = true;
    close();
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

void SettingsView::showAdvice() {
    hotkeyAdvice_->say(environment_.hotKeys.help());
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

// Recording goes on, but a user who closed the window wants the hot key to work.
void SettingsView::hideEvent(QHideEvent *event) {
    QWidget::hideEvent(event);
    underlineMnemonics(false);
    if (!event->spontaneous())
        environment_.hotKeys.resume();
}

void SettingsView::paintEvent(QPaintEvent * /*event*/) {
    QPainter(this).fillRect(0, scrollArea_->height(), width(), 1, style::hairline(palette()));
}

void SettingsView::keyPressEvent(QKeyEvent *event) {
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
        saveButton_->click();
    else if (event->key() == Qt::Key_Escape)
        recording() ? stopRecording() : void(close());
    else
        QWidget::keyPressEvent(event);
}

// Before a field takes it. Alt may be let go of in another window.
bool SettingsView::eventFilter(QObject *watched, QEvent *event) {
    if (event->type() == QEvent::FocusOut)
        underlineMnemonics(false);
    if (event->type() == QEvent::KeyPress || event->type() == QEvent::KeyRelease) {
        if (static_cast<const QKeyEvent *>(event)->key() == Qt::Key_Alt)
            underlineMnemonics(event->type() == QEvent::KeyPress);
    }
    return QWidget::eventFilter(watched, event);
}

void SettingsView::underlineMnemonics(bool underlined) {
    FlatStyle::underlineMnemonics(underlined);
    const QList<QWidget *> controls = findChildren<QWidget *>();
    for (QWidget *control : controls)
        control->update();
}

} // namespace corvid
