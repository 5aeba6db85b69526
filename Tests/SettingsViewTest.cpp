// The settings form, with its real widgets.

#include "SettingsView.h"

#include "Fakes/FakeFolderDialog.h"
#include "Fakes/FakeHotKeyBackend.h"
#include "Fakes/FakePanelSurface.h"
#include "Fakes/LauncherWorld.h"
#include "HotKeyManager.h"
#include "Panel/Style.h"
#include "Settings/FormWidgets.h"
#include "Worlds/QtPrinters.h"
#include "Worlds/Wait.h"

#include <QAbstractItemView>
#include <QAccessible>
#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QFileDialog>
#include <QJsonArray>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QTableWidget>
#include <QToolButton>

#include <gtest/gtest.h>

#include <functional>
#include <linux/input-event-codes.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

class SettingsViewTest : public ::testing::Test {
protected:
    SettingsViewTest() {
        defaults.set(u"projectRoots"_s, QJsonArray{u"/one"_s, u"/two"_s});
        hotKeys.registerHotKey(49, 0x800, [] {});
    }

    void show() {
        window.emplace(SettingsView::Environment{.defaults = defaults,
                                                 .projects = world.projects,
                                                 .hotKeys = hotKeys,
                                                 .folderDialog = folderDialog,
                                                 .keychain = world.keychain,
                                                 .stats = world.stats,
                                                 .ai = world.ai,
                                                 .panelSurface = surface,
                                                 .onHotkeyChanged = [this] { ++hotkeyChanges; }});
        window->present();
    }

    static QString shown(QString text) { return text.remove(u'&').remove(QChar(0x2060)); }
    template <typename T>
    std::vector<T *> visible() {
        std::vector<T *> result;
        const QList<T *> all = window->findChildren<T *>();
        for (T *widget : all)
            if (widget->isVisibleTo(&*window))
                result.push_back(widget);
        return result;
    }
    QPushButton *button(const QString &text) {
        for (QPushButton *candidate : visible<QPushButton>())
            if (shown(candidate->text()) == text)
                return candidate;
        return nullptr;
    }
    QLineEdit *field(const QString &label) {
        for (const QLabel *candidate : visible<QLabel>())
            if (shown(candidate->text()) == label)
                return qobject_cast<QLineEdit *>(candidate->buddy());
        return nullptr;
    }
    QTableWidget *table() { return window->findChild<QTableWidget *>(); }
    /** The words of the table, from the top. */
    QStringList words() {
        QStringList result;
        for (int row = 0; row < table()->rowCount(); ++row)
            result.append(table()->item(row, 0)->text());
        return result;
    }
    QLineEdit *cellEditor() { return table()->viewport()->findChild<QLineEdit *>(); }
    void enter(int row, int column, const QString &text) {
        table()->item(row, column)->setText(text);
    }
    QCheckBox *enable() { return window->findChild<QCheckBox *>(); }
    QLabel *hotkeyText() {
        for (QLabel *label : visible<QLabel>())
            if (label->accessibleDescription() == u"Hotkey")
                return label;
        return nullptr;
    }
    bool says(const QString &text) {
        for (const QLabel *label : visible<QLabel>())
            if (shown(label->text()) == text)
                return true;
        return false;
    }
    bool hints() {
        for (const QLabel *label : visible<QLabel>())
            if (shown(label->text()).contains(u"corvid --toggle"_s))
                return true;
        return false;
    }
    /** The whole text that begins like this; empty when none does. */
    QString saysMoreThan(const QString &beginning) {
        for (const QLabel *label : visible<QLabel>())
            if (const QString text = shown(label->text()); text.startsWith(beginning))
                return text;
        return {};
    }
    QStringList rows() {
        QStringList result;
        for (const ElidedLabel *label : visible<ElidedLabel>())
            result.append(label->text());
        return result;
    }
    QPushButton *remove(const QString &path) {
        for (QPushButton *candidate : visible<QPushButton>())
            if (candidate->accessibleName() == u"Remove "_s + path)
                return candidate;
        return nullptr;
    }
    QString storedKey() const { return world.secrets.secrets.value(u"ai-api-key"_s); }
    void storeKey(const QString &key) { world.secrets.set(u"ai-api-key"_s, key); }
    QJsonValue storedRoots() const { return defaults.value(u"projectRoots"_s); }
    /** Whether a scan was started since this was asked last. */
    bool scanned() {
        const bool scanning = world.projects.scanning();
        waitUntil([this] { return !world.projects.scanning(); });
        return scanning;
    }
    static void press(QWidget *to, int position, int key, Qt::KeyboardModifiers modifiers = {},
                      const QString &text = {}) {
        QKeyEvent event(QEvent::KeyPress, key, modifiers, static_cast<quint32>(position + 8), 0, 0,
                        text);
        QCoreApplication::sendEvent(to, &event);
    }

    LauncherWorld world{{}, {makeProject(u"api"_s), makeProject(u"web"_s)}};
    FakeUserDefaults &defaults = world.defaults;
    FakeHotKeyBackend backend;
    HotKeyManager hotKeys{backend};
    FakeFolderDialog folderDialog;
    FakePanelSurface surface;
    int hotkeyChanges = 0;
    std::optional<SettingsView> window;
};

using SettingsViewDeathTest = SettingsViewTest;

} // namespace

// --- Layout

TEST_F(SettingsViewTest, hasItsSectionsWithTheirTexts) {
    show();
    EXPECT_TRUE(says(u"Hotkey"_s));
    EXPECT_TRUE(says(u"AI — bring your own model"_s));
    EXPECT_TRUE(says(u"Project folders"_s));
    EXPECT_EQ(shown(enable()->text()), u"Enable AI features (`ai` prefix)");
    EXPECT_TRUE(says(u"Any OpenAI-compatible endpoint: OpenAI, OpenRouter, Ollama "
                     "(http://localhost:11434/v1), LM Studio, Groq.\n"
                     "`ai <question>` answers inline · `ai open my web project` launches it."_s));
    ASSERT_TRUE(field(u"Base URL"_s));
    ASSERT_TRUE(field(u"Model"_s));
    ASSERT_TRUE(field(u"API key (stored in Keychain)"_s));
    for (const QString &text : {u"Change"_s, u"Remove"_s, u"Add folder..."_s, u"Save"_s})
        EXPECT_TRUE(button(text)) << qPrintable(text);
    EXPECT_TRUE(says(u"2 projects indexed"_s));
    EXPECT_TRUE(says(u"Learnt from use"_s));
    EXPECT_FALSE(hints());
}

TEST_F(SettingsViewTest, theSectionsStandInTheirOrderAndSaveBelowThem) {
    show();
    const auto top = [this](const QWidget *widget) {
        return widget->mapTo(&*window, QPoint()).y();
    };
    const QWidget *order[]{button(u"Change"_s),
                           enable(),
                           field(u"Base URL"_s),
                           field(u"Model"_s),
                           field(u"API key (stored in Keychain)"_s),
                           remove(u"/one"_s),
                           remove(u"/two"_s),
                           button(u"Add folder..."_s),
                           field(u"Search engine"_s),
                           field(u"Address (%s is the text)"_s),
                           table(),
                           button(u"Add word"_s),
                           button(u"Forget what was learnt…"_s)};
    for (size_t i = 1; i < std::size(order); ++i)
        EXPECT_LT(top(order[i - 1]), top(order[i])) << i;
    EXPECT_TRUE(button(u"Save"_s)->isDefault());
}

TEST_F(SettingsViewTest, theKeysFieldIsMasked) {
    storeKey(u"secret"_s);
    show();
    EXPECT_EQ(field(u"API key (stored in Keychain)"_s)->echoMode(), QLineEdit::Password);
    EXPECT_FALSE(field(u"API key (stored in Keychain)"_s)->displayText().contains(u'e'));
}

TEST_F(SettingsViewTest, tabsGoDownTheFormAndAroundAlsoAfterARemoval) {
    show();
    const auto goes = [this](const QList<QWidget *> &order) {
        order.first()->setFocus();
        for (const QWidget *widget : order) {
            EXPECT_EQ(window->focusWidget(), widget);
            QKeyEvent tab(QEvent::KeyPress, Qt::Key_Tab, Qt::NoModifier);
            QCoreApplication::sendEvent(window->focusWidget(), &tab);
        }
        EXPECT_EQ(window->focusWidget(), order.first());
    };
    const QList<QToolButton *> lists = window->findChildren<QToolButton *>();
    ASSERT_EQ(lists.size(), 2);
    const QList<QWidget *> before{button(u"Change"_s),
                                  enable(),
                                  field(u"Base URL"_s),
                                  field(u"Model"_s),
                                  field(u"API key (stored in Keychain)"_s),
                                  lists[0],
                                  lists[1],
                                  button(u"Test"_s),
                                  window->findChildren<QCheckBox *>().value(1)};
    table()->setCurrentCell(0, 0); // or there is nothing to remove
    const QList<QWidget *> after{button(u"Add folder..."_s),
                                 field(u"Search engine"_s),
                                 field(u"Address (%s is the text)"_s),
                                 table(),
                                 button(u"Add word"_s),
                                 button(u"Remove word"_s),
                                 button(u"Restore defaults"_s),
                                 button(u"Save"_s)};
    goes(before + QList<QWidget *>{remove(u"/one"_s), remove(u"/two"_s)} + after);
    remove(u"/one"_s)->click();
    goes(before + QList<QWidget *>{remove(u"/two"_s)} + after);
}

TEST_F(SettingsViewTest, noTwoMnemonicsAreTheSame) {
    show();
    QStringList texts;
    for (const QCheckBox *each : visible<QCheckBox>())
        texts.append(each->text());
    for (const QPushButton *each : visible<QPushButton>())
        texts.append(each->text());
    for (const QLabel *each : visible<QLabel>())
        if (each->buddy())
            texts.append(each->text());
    QStringList mnemonics;
    for (const QString &text : texts)
        if (const qsizetype mark = text.indexOf(u'&'); mark >= 0)
            mnemonics.append(text.sliced(mark + 1, 1).toLower());
    EXPECT_EQ(mnemonics.size(), 15);
    EXPECT_EQ(mnemonics.removeDuplicates(), 0);
}

TEST_F(SettingsViewTest, everyControlHasANameForThoseWhoDoNotSeeIt) {
    show();
    const auto nameOf = [](QWidget *widget) {
        QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(widget);
        return accessible ? shown(accessible->text(QAccessible::Name)) : QString();
    };
    EXPECT_EQ(nameOf(field(u"Base URL"_s)), u"Base URL");
    EXPECT_EQ(nameOf(field(u"API key (stored in Keychain)"_s)), u"API key (stored in Keychain)");
    EXPECT_EQ(nameOf(enable()), u"Enable AI features (`ai` prefix)");
    EXPECT_EQ(nameOf(remove(u"/two"_s)), u"Remove /two");
    window->startRecording();
    press(&*window, KEY_K, Qt::Key_K, Qt::MetaModifier);
    EXPECT_EQ(nameOf(hotkeyText()), u"⌘ K");
}

TEST_F(SettingsViewTest, aLongPathGivesUpItsMiddleAndIsWholeInItsTooltip) {
    const QString path = u"/home/user/"_s + QString(300, u'x') + u"/<end>"_s;
    defaults.set(u"projectRoots"_s, QJsonArray{path});
    show();
    QCoreApplication::sendPostedEvents();
    EXPECT_EQ(rows(), QStringList{path});
    const ElidedLabel *label = visible<ElidedLabel>().front();
    EXPECT_EQ(label->toolTip(), path.toHtmlEscaped());
    EXPECT_LT(label->width(), window->width());
    EXPECT_LE(remove(path)->mapTo(&*window, QPoint(remove(path)->width(), 0)).x(), window->width());
}

TEST_F(SettingsViewTest, manyFoldersScrollAndSaveStaysInSight) {
    QJsonArray many;
    for (int i = 0; i < 30; ++i)
        many.append(u"/folder/%1"_s.arg(i));
    defaults.set(u"projectRoots"_s, many);
    show();
    QCoreApplication::sendPostedEvents();
    EXPECT_EQ(rows().size(), 30);
    EXPECT_EQ(window->size(), QSize(480, 420));
    EXPECT_GT(window->findChild<QScrollArea *>()->verticalScrollBar()->maximum(), 0);
    EXPECT_TRUE(window->rect().contains(
        QRect(button(u"Save"_s)->mapTo(&*window, QPoint()), button(u"Save"_s)->size())));
    window->close();
    window->findChild<QScrollArea *>()->verticalScrollBar()->setValue(200);
    window->present();
    EXPECT_EQ(window->findChild<QScrollArea *>()->verticalScrollBar()->value(), 0);
}

TEST_F(SettingsViewTest, nothingMovesSidewaysWhenTheFoldersScroll) {
    show();
    const auto right = [this] {
        QCoreApplication::sendPostedEvents();
        QPushButton *change = button(u"Change"_s);
        return change->mapTo(&*window, QPoint(change->width(), 0)).x();
    };
    const int before = right();
    button(u"Add folder..."_s)->click();
    folderDialog.done(QStringList(30, u"/x"_s));
    EXPECT_EQ(right(), before);
    EXPECT_TRUE(window->findChild<QScrollArea *>()->verticalScrollBar()->isVisible());
}

TEST_F(SettingsViewTest, noLineEndsWithinTheAddressInTheCaption) {
    show();
    QString caption;
    for (const QLabel *label : visible<QLabel>())
        if (label->accessibleName().startsWith(u"Any OpenAI"_s))
            caption = label->text();
    EXPECT_TRUE(caption.contains(u"(http:\u2060/\u2060/\u2060localhost:\u206011434/\u2060v1)"_s));
}

// --- load()

TEST_F(SettingsViewTest, aFreshInstallationShowsTheDefaultsAndNoHotKey) {
    defaults.set(u"projectRoots"_s, QJsonValue(QJsonValue::Undefined));
    show();
    EXPECT_EQ(hotkeyText()->text(), QString());
    EXPECT_TRUE(button(u"Change"_s));
    EXPECT_EQ(field(u"Base URL"_s)->text(), u"https://api.openai.com/v1");
    EXPECT_EQ(field(u"Model"_s)->text(), u"gpt-4o-mini");
    EXPECT_EQ(field(u"API key (stored in Keychain)"_s)->text(), QString());
    EXPECT_TRUE(enable()->isChecked());
    EXPECT_EQ(rows(), world.projects.roots());
    const auto *inUse = qobject_cast<PlaceholderLabel *>(hotkeyText());
    ASSERT_TRUE(inUse);
    EXPECT_EQ(inUse->placeholder(), u"⌥ Space") << "the one in use";
}

TEST_F(SettingsViewTest, withoutStoredFoldersTheDefaultOnesThatExistAreShown) {
    const QTemporaryDir home;
    const QByteArray before = qgetenv("HOME");
    qputenv("HOME", home.path().toLocal8Bit());
    QDir(home.path()).mkdir(u"Code"_s);
    defaults.set(u"projectRoots"_s, QJsonArray());
    show();
    EXPECT_EQ(rows(), QStringList{home.filePath(u"Code"_s)});
    qputenv("HOME", before);
}

TEST_F(SettingsViewTest, showsWhatIsStored) {
    defaults.set(u"aiBaseURL"_s, u"http://localhost:1234/v1"_s);
    defaults.set(u"aiModel"_s, u"llama"_s);
    defaults.set(u"aiEnabled"_s, false);
    defaults.set(u"hotkeyKeyCode"_s, 40);
    defaults.set(u"hotkeyModifiers"_s, 0x100);
    storeKey(u"sk"_s);
    show();
    EXPECT_EQ(field(u"Base URL"_s)->text(), u"http://localhost:1234/v1");
    EXPECT_EQ(field(u"Model"_s)->text(), u"llama");
    EXPECT_FALSE(enable()->isChecked());
    EXPECT_EQ(hotkeyText()->text(), u"⌘ K");
    EXPECT_EQ(field(u"API key (stored in Keychain)"_s)->text(), u"sk");
    EXPECT_EQ(rows(), (QStringList{u"/one"_s, u"/two"_s}));
}

TEST_F(SettingsViewTest, everyShowingReadsAfresh) {
    show();
    field(u"Model"_s)->setText(u"entered and not saved"_s);
    window->close();
    defaults.set(u"aiModel"_s, u"by hand"_s);
    defaults.set(u"aiEnabled"_s, false);
    defaults.set(u"hotkeyKeyCode"_s, 40);
    defaults.set(u"hotkeyModifiers"_s, 0x800);
    defaults.set(u"projectRoots"_s, QJsonArray{u"/three"_s});
    storeKey(u"new"_s);
    window->present();
    EXPECT_EQ(field(u"Model"_s)->text(), u"by hand");
    EXPECT_FALSE(enable()->isChecked());
    EXPECT_EQ(hotkeyText()->text(), u"⌥ K");
    EXPECT_EQ(rows(), QStringList{u"/three"_s});
    EXPECT_EQ(field(u"API key (stored in Keychain)"_s)->text(), u"new");
    window->close();
    for (const QString &key : {u"hotkeyKeyCode"_s, u"aiEnabled"_s, u"aiModel"_s})
        defaults.set(key, QJsonValue(QJsonValue::Undefined));
    window->present();
    EXPECT_EQ(hotkeyText()->text(), QString());
    EXPECT_TRUE(enable()->isChecked());
    EXPECT_EQ(field(u"Model"_s)->text(), u"gpt-4o-mini");
}

TEST_F(SettingsViewTest, openingWhatIsOpenKeepsWhatWasEntered) {
    show();
    field(u"Model"_s)->setText(u"entered"_s);
    window->present();
    EXPECT_EQ(field(u"Model"_s)->text(), u"entered");
}

TEST_F(SettingsViewTest, aKeyThatTheStoreTellsLateIsShownUnlessOneIsBeingEntered) {
    show();
    QLineEdit *key = field(u"API key (stored in Keychain)"_s);
    storeKey(u"late"_s);
    window->loadKey();
    EXPECT_EQ(key->text(), u"late");
    press(key, KEY_A, Qt::Key_A, {}, u"a"_s);
    storeKey(u"later"_s);
    window->loadKey();
    EXPECT_TRUE(key->text().contains(u'a') && !key->text().contains(u"later"_s));
}

TEST_F(SettingsViewTest, theModifiersAloneAreNoHotKey) {
    defaults.set(u"hotkeyModifiers"_s, 0x100);
    show();
    EXPECT_EQ(hotkeyText()->text(), QString());
}

TEST_F(SettingsViewTest, theLargestStoredHotKeyIsShown) {
    defaults.set(u"hotkeyKeyCode"_s, 4294967295.0);
    defaults.set(u"hotkeyModifiers"_s, 4294967295.0);
    show();
    EXPECT_EQ(hotkeyText()->text(), u"⌃⌥⇧⌘ Key 4294967295");
}

TEST_F(SettingsViewDeathTest, aStoredHotKeyOutOfRangeIsFatal) {
    show();
    const std::pair<QJsonValue, QJsonValue> pairs[]{
        {-1, 0x800}, {4294967296.0, 0x800}, {40, -1}, {40, 4294967296.0}};
    for (const auto &[keyCode, modifiers] : pairs) {
        defaults.set(u"hotkeyKeyCode"_s, keyCode);
        defaults.set(u"hotkeyModifiers"_s, modifiers);
        EXPECT_DEATH(window->load(), "must be from 0 to 4294967295");
    }
    defaults.set(u"hotkeyKeyCode"_s, 0);
    defaults.set(u"hotkeyModifiers"_s, -1);
    window->load();
    EXPECT_EQ(hotkeyText()->text(), QString()) << "not looked at without a key code";
}

// --- Recording

TEST_F(SettingsViewTest, theButtonStartsAndStopsRecording) {
    show();
    button(u"Change"_s)->click();
    EXPECT_TRUE(window->recording());
    ASSERT_TRUE(button(u"Press a key combo..."_s));
    EXPECT_FALSE(button(u"Change"_s));
    button(u"Press a key combo..."_s)->click();
    EXPECT_FALSE(window->recording());
    EXPECT_TRUE(button(u"Change"_s));
    EXPECT_EQ(hotkeyChanges, 0);
}

TEST_F(SettingsViewTest, aCombinationIsStoredShownAndRegisteredAtOnce) {
    show();
    window->startRecording();
    press(field(u"Model"_s), KEY_K, Qt::Key_K, Qt::MetaModifier, u"k"_s);
    EXPECT_EQ(defaults.value(u"hotkeyKeyCode"_s), QJsonValue(40));
    EXPECT_EQ(defaults.value(u"hotkeyModifiers"_s), QJsonValue(0x100));
    EXPECT_EQ(hotkeyText()->text(), u"⌘ K");
    EXPECT_FALSE(window->recording());
    EXPECT_TRUE(button(u"Change"_s));
    EXPECT_EQ(hotkeyChanges, 1);
    EXPECT_EQ(field(u"Model"_s)->text(), u"gpt-4o-mini") << "swallowed";
}

TEST_F(SettingsViewTest, aPlainLetterReachesTheFormAndRecordingGoesOn) {
    show();
    window->startRecording();
    field(u"Model"_s)->selectAll();
    press(field(u"Model"_s), KEY_K, Qt::Key_K, {}, u"k"_s);
    EXPECT_EQ(field(u"Model"_s)->text(), u"k");
    EXPECT_TRUE(window->recording());
    EXPECT_TRUE(defaults.value(u"hotkeyKeyCode"_s).isUndefined());
    EXPECT_EQ(hotkeyChanges, 0);
}

TEST_F(SettingsViewTest, keyCode0IsStoredAndMeansNoHotKey) {
    show();
    window->startRecording();
    press(&*window, KEY_A, Qt::Key_A, Qt::AltModifier);
    EXPECT_EQ(defaults.value(u"hotkeyKeyCode"_s), QJsonValue(0));
    EXPECT_EQ(hotkeyText()->text(), u"⌥ A");
    EXPECT_EQ(hotkeyChanges, 1);
    window->close();
    window->present();
    EXPECT_EQ(hotkeyText()->text(), QString());
}

TEST_F(SettingsViewTest, anArrowAloneIsACombination) {
    show();
    window->startRecording();
    press(field(u"Model"_s), KEY_LEFT, Qt::Key_Left);
    EXPECT_EQ(hotkeyText()->text(), u" ←");
    EXPECT_EQ(defaults.value(u"hotkeyKeyCode"_s), QJsonValue(123));
    EXPECT_EQ(defaults.value(u"hotkeyModifiers"_s), QJsonValue(0));
}

TEST_F(SettingsViewTest, whileRecordingTheHotKeyRestsAndComesBackWhenItIsCancelled) {
    show();
    window->startRecording();
    EXPECT_EQ(backend.grabbed, std::nullopt);
    window->stopRecording();
    EXPECT_EQ(backend.grabbed, (HotKey{49, 0x800}));
}

TEST_F(SettingsViewTest, recordingOutlivesTheWindowButTheHotKeyWorksThen) {
    show();
    window->startRecording();
    window->close();
    EXPECT_TRUE(window->recording());
    EXPECT_EQ(backend.grabbed, (HotKey{49, 0x800}));
    window->present();
    EXPECT_EQ(backend.grabbed, std::nullopt);
    window->close();
    QWidget other;
    press(&other, KEY_J, Qt::Key_J, Qt::ControlModifier);
    EXPECT_FALSE(window->recording());
    EXPECT_EQ(defaults.value(u"hotkeyKeyCode"_s), QJsonValue(38));
    EXPECT_EQ(defaults.value(u"hotkeyModifiers"_s), QJsonValue(0x1000));
}

TEST_F(SettingsViewTest, aFormThatIsDestroyedWhileRecordingLeavesKeysAlone) {
    show();
    window->startRecording();
    window.reset();
    QLineEdit other;
    press(&other, KEY_LEFT, Qt::Key_Left, Qt::MetaModifier);
    EXPECT_TRUE(defaults.value(u"hotkeyKeyCode"_s).isUndefined());
}

TEST_F(SettingsViewTest, aHotKeyThatCannotBeHadIsSaidWithTheOtherWay) {
    show();
    backend.callbacks.answered(HotKeyAnswer::Taken);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::MetaCall);
    EXPECT_TRUE(says(u"The desktop does not give Corvid Alt+Space. Try another combination here, "
                     "or bind this command to a key in the desktop's settings:"_s));
    EXPECT_TRUE(says(u"corvid --toggle"_s));
    backend.callbacks.answered(HotKeyAnswer::Obtained);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::MetaCall);
    EXPECT_FALSE(hints());
    window->close();
    backend.callbacks.answered(HotKeyAnswer::Taken);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::MetaCall);
    window->present();
    EXPECT_TRUE(hints());
    window->startRecording();
    EXPECT_FALSE(hints()) << "about to be another";
}

TEST_F(SettingsViewTest, whyThereIsNoHotKeyIsSaid) {
    struct Row {
        HotKeyAnswer answer;
        QString reason;
        bool mayTryAnother;
    };
    const Row rows[]{
        {HotKeyAnswer::Taken, u"The desktop does not give Corvid Alt+Space."_s, true},
        {HotKeyAnswer::NoPortal, u"No portal runs here that could give Corvid Alt+Space."_s, false},
        {HotKeyAnswer::NotOffered, u"This desktop gives no program a hot key."_s, false},
        {HotKeyAnswer::Refused, u"The desktop has refused Corvid Alt+Space."_s, true},
        {HotKeyAnswer::WithoutKey, u"The desktop has no key for \"Show or hide Corvid\"."_s, true},
        {HotKeyAnswer::Silent,
         u"The desktop has not answered yet whether Corvid may have Alt+Space."_s, true},
    };
    show();
    for (const Row &row : rows) {
        backend.callbacks.answered(row.answer);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::MetaCall);
        const QString hint = saysMoreThan(row.reason);
        EXPECT_FALSE(hint.isEmpty()) << qPrintable(row.reason);
        EXPECT_EQ(hint.contains(u"another combination"_s), row.mayTryAnother) << qPrintable(hint);
    }
}

TEST_F(SettingsViewTest, theLineForTheCompositorIsCopiedByAButton) {
    backend.where = Desktop::Sway;
    show();
    EXPECT_FALSE(button(u"Copy"_s));
    backend.callbacks.answered(HotKeyAnswer::NoPortal);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::MetaCall);
    const QString line = u"bindsym Mod1+space exec corvid --toggle"_s;
    EXPECT_TRUE(says(line));
    EXPECT_FALSE(button(u"Use "_s)) << "nothing is known to be free";
    button(u"Copy"_s)->click();
    EXPECT_EQ(QGuiApplication::clipboard()->text(), line);
}

TEST_F(SettingsViewTest, aFreeCombinationIsTakenByAButton) {
    show();
    backend.callbacks.foundFree({49, HotKey::command});
    backend.callbacks.answered(HotKeyAnswer::Taken);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::MetaCall);
    ASSERT_TRUE(button(u"Use Super+Space"_s));
    button(u"Use Super+Space"_s)->click();
    EXPECT_EQ(defaults.value(u"hotkeyKeyCode"_s), 49);
    EXPECT_EQ(defaults.value(u"hotkeyModifiers"_s), 0x100);
    EXPECT_EQ(hotkeyText()->text(), u"⌘ Space");
    EXPECT_EQ(hotkeyChanges, 1);
}

TEST_F(SettingsViewTest, withoutAHotKeyNothingIsSaidOfIt) {
    hotKeys.unregister();
    show();
    EXPECT_FALSE(hints());
}

// --- Folders

TEST_F(SettingsViewTest, removingAFolderIsStoredAtOnceAndScansAnew) {
    scanned();
    show();
    EXPECT_FALSE(scanned());
    remove(u"/one"_s)->click();
    EXPECT_EQ(storedRoots(), QJsonValue(QJsonArray{u"/two"_s}));
    EXPECT_EQ(rows(), QStringList{u"/two"_s});
    EXPECT_TRUE(scanned());
    EXPECT_EQ(window->focusWidget(), remove(u"/two"_s));
    remove(u"/two"_s)->click();
    EXPECT_EQ(storedRoots(), QJsonValue(QJsonArray()));
    EXPECT_EQ(window->focusWidget(), button(u"Add folder..."_s));
}

TEST_F(SettingsViewTest, aFolderAddedTwiceIsListedTwiceAndRemovedAltogether) {
    scanned();
    show();
    for (int i = 0; i < 2; ++i) {
        button(u"Add folder..."_s)->click();
        EXPECT_EQ(folderDialog.prompt, u"Add");
        folderDialog.done(QStringList{u"/new"_s, u"/one"_s});
        EXPECT_TRUE(scanned());
    }
    EXPECT_EQ(window->focusWidget(), button(u"Add folder..."_s)) << "the keyboard stays there";
    const QStringList all{u"/one"_s, u"/two"_s, u"/new"_s, u"/one"_s, u"/new"_s, u"/one"_s};
    EXPECT_EQ(rows(), all);
    EXPECT_EQ(storedRoots(), QJsonValue(QJsonArray::fromStringList(all)));
    remove(u"/one"_s)->click();
    EXPECT_EQ(rows(), (QStringList{u"/two"_s, u"/new"_s, u"/new"_s}));
}

TEST_F(SettingsViewTest, aCancelledChoiceOfFoldersChangesNothing) {
    scanned();
    show();
    button(u"Add folder..."_s)->click();
    EXPECT_FALSE(button(u"Add folder..."_s)->isEnabled()) << "one choice at a time";
    folderDialog.done(QStringList());
    EXPECT_TRUE(button(u"Add folder..."_s)->isEnabled());
    EXPECT_EQ(rows(), (QStringList{u"/one"_s, u"/two"_s}));
    EXPECT_FALSE(scanned());
}

TEST_F(SettingsViewTest, aChoiceThatComesAfterTheFormIsGoneDoesNothing) {
    show();
    button(u"Add folder..."_s)->click();
    window.reset();
    folderDialog.done(QStringList{u"/new"_s});
    EXPECT_EQ(storedRoots(), QJsonValue(QJsonArray{u"/one"_s, u"/two"_s}));
}

TEST_F(SettingsViewTest, whereTheDesktopHasNoDialogOursTakesSeveralFolders) {
    const QTemporaryDir folder;
    for (const QString &name : {u"a"_s, u"b"_s, u"c"_s})
        QDir(folder.path()).mkdir(name);
    show();
    button(u"Add folder..."_s)->click();
    folderDialog.done(std::nullopt);
    auto *dialog = window->findChild<QFileDialog *>();
    ASSERT_TRUE(dialog);
    EXPECT_TRUE(dialog->isModal());
    EXPECT_TRUE(dialog->testOption(QFileDialog::ShowDirsOnly));
    QPushButton *accept = nullptr;
    for (QPushButton *candidate : dialog->findChildren<QPushButton *>())
        if (shown(candidate->text()) == u"Add")
            accept = candidate;
    ASSERT_TRUE(accept);
    dialog->setDirectory(folder.path());
    auto *list = dialog->findChild<QAbstractItemView *>(u"treeView"_s);
    ASSERT_TRUE(waitUntil([&] { return list->model()->rowCount(list->rootIndex()) == 3; }));
    for (int row = 0; row < 3; ++row) {
        const QModelIndex index = list->model()->index(row, 0, list->rootIndex());
        if (index.data() != u"b"_s)
            list->selectionModel()->select(index,
                                           QItemSelectionModel::Select | QItemSelectionModel::Rows);
    }
    accept->click();
    QStringList added = rows().sliced(2);
    added.sort();
    EXPECT_EQ(added, (QStringList{folder.filePath(u"a"_s), folder.filePath(u"c"_s)}));
    EXPECT_TRUE(button(u"Add folder..."_s)->isEnabled());
}

TEST_F(SettingsViewTest, ourDialogCancelledChangesNothing) {
    show();
    button(u"Add folder..."_s)->click();
    folderDialog.done(std::nullopt);
    window->findChild<QFileDialog *>()->reject();
    EXPECT_EQ(rows(), (QStringList{u"/one"_s, u"/two"_s}));
    EXPECT_TRUE(button(u"Add folder..."_s)->isEnabled());
}

TEST_F(SettingsViewTest, theNumberOfProjectsFollowsTheIndex) {
    const QTemporaryDir root;
    for (const QString &name : {u"x"_s, u"y"_s, u"z"_s}) {
        QDir(root.path()).mkpath(name);
        QFile marker(root.filePath(name + u"/Makefile"_s));
        ASSERT_TRUE(marker.open(QIODevice::WriteOnly));
    }
    show();
    EXPECT_TRUE(says(u"2 projects indexed"_s));
    button(u"Add folder..."_s)->click();
    folderDialog.done(QStringList{root.path()});
    EXPECT_TRUE(waitUntil([this] { return says(u"3 projects indexed"_s); }));
}

TEST_F(SettingsViewTest, removingTheLastFolderLeavesNoProjects) {
    show();
    EXPECT_TRUE(says(u"2 projects indexed"_s));
    remove(u"/one"_s)->click();
    remove(u"/two"_s)->click();
    EXPECT_TRUE(waitUntil([this] { return says(u"0 projects indexed"_s); }));
}

TEST_F(SettingsViewTest, whoMissesProjectsIsToldWhereTheyWereLookedForBesideTheButton) {
    const QTemporaryDir root;
    defaults.set(u"projectRoots"_s, QJsonArray{root.path()});
    show();
    const QString why = u"No projects were found in %1."_s.arg(root.path());
    EXPECT_FALSE(says(why));
    window->save(); // which scans
    EXPECT_TRUE(waitUntil([this] { return !world.projects.scanning(); }));
    window->present();
    EXPECT_TRUE(says(u"0 projects indexed"_s));
    EXPECT_TRUE(says(why));
    EXPECT_TRUE(button(u"Add folder..."_s)->isVisibleTo(&*window));
}

// --- What was learnt

TEST_F(SettingsViewTest, whatWasLearntIsForgottenAfterAskingInPlace) {
    world.setLaunches(u"a"_s, 12);
    world.setLatch(u"q"_s, u"a"_s);
    show();
    EXPECT_TRUE(says(u"12 launches and 1 choice"_s));
    EXPECT_FALSE(button(u"Forget"_s));
    button(u"Forget what was learnt…"_s)->click();
    EXPECT_TRUE(says(u"Forget 12 launches and 1 choice?"_s));
    EXPECT_EQ(window->focusWidget(), button(u"Keep"_s)) << "a second press must not forget";
    EXPECT_EQ(world.stats.counts().size(), 1);
    button(u"Forget"_s)->click();
    EXPECT_TRUE(world.stats.counts().isEmpty());
    EXPECT_TRUE(world.stats.latches().isEmpty());
    EXPECT_TRUE(says(u"Nothing yet"_s));
    EXPECT_FALSE(button(u"Forget what was learnt…"_s)->isEnabled());
}

TEST_F(SettingsViewTest, whatWasLearntIsKeptUnlessForgettingIsConfirmed) {
    world.setLaunches(u"a"_s, 1);
    show();
    button(u"Forget what was learnt…"_s)->click();
    button(u"Keep"_s)->click();
    EXPECT_EQ(window->focusWidget(), button(u"Forget what was learnt…"_s));
    button(u"Forget what was learnt…"_s)->click();
    window->close();
    window->present();
    EXPECT_FALSE(button(u"Forget"_s)) << "it asks no more";
    EXPECT_TRUE(says(u"1 launch and 0 choices"_s));
}

// --- save()

TEST_F(SettingsViewTest, saveStoresEverythingAsEnteredScansAnewAndClosesTheWindow) {
    scanned();
    show();
    field(u"Base URL"_s)->setText(u" http://host/v1/ "_s);
    field(u"Model"_s)->setText(u""_s);
    enable()->setChecked(false);
    field(u"API key (stored in Keychain)"_s)->setText(u" sk "_s);
    EXPECT_FALSE(window->saved());
    button(u"Save"_s)->click();
    EXPECT_EQ(defaults.value(u"aiBaseURL"_s), QJsonValue(u" http://host/v1/ "_s));
    EXPECT_EQ(defaults.value(u"aiModel"_s), QJsonValue(u""_s));
    EXPECT_EQ(defaults.value(u"aiEnabled"_s), QJsonValue(false));
    EXPECT_EQ(storedKey(), u"sk") << "without what came along where it was copied";
    EXPECT_EQ(storedRoots(), QJsonValue(QJsonArray{u"/one"_s, u"/two"_s}));
    EXPECT_TRUE(window->saved());
    EXPECT_TRUE(scanned());
    EXPECT_FALSE(window->isVisible());
}

TEST_F(SettingsViewTest, savingStoresTheAISettingsAlsoUnchangedAndScansEachTime) {
    scanned();
    show();
    for (int i = 0; i < 2; ++i) {
        button(u"Save"_s)->click();
        EXPECT_TRUE(scanned());
        window->present();
        EXPECT_TRUE(window->saved()) << "for good";
    }
    EXPECT_EQ(defaults.value(u"aiBaseURL"_s), QJsonValue(u"https://api.openai.com/v1"_s));
    EXPECT_EQ(defaults.value(u"aiModel"_s), QJsonValue(u"gpt-4o-mini"_s));
    EXPECT_EQ(defaults.value(u"aiEnabled"_s), QJsonValue(true));
}

TEST_F(SettingsViewTest, anEmptyKeyLeavesTheStoredOne) {
    storeKey(u"sk"_s);
    show();
    field(u"API key (stored in Keychain)"_s)->clear();
    button(u"Save"_s)->click();
    EXPECT_EQ(storedKey(), u"sk");
    EXPECT_TRUE(window->saved());
}

TEST_F(SettingsViewTest, aKeyThatCanNeverBeSentKeepsTheFormOpenAndStoresNothing) {
    show();
    field(u"API key (stored in Keychain)"_s)->setText(u"sk-1\tsk-2"_s);
    button(u"Save"_s)->click();
    EXPECT_TRUE(window->isVisible());
    EXPECT_FALSE(window->saved());
    EXPECT_TRUE(defaults.value(u"aiModel"_s).isUndefined());
}

TEST_F(SettingsViewTest, theFormComesBackWithTheKeyWhenTheKeyringStaysLocked) {
    storeKey(u"old"_s);
    world.secrets.isLocked = true;
    world.secrets.userUnlocks = false;
    show();
    field(u"API key (stored in Keychain)"_s)->setText(u"typed"_s);
    button(u"Save"_s)->click();
    EXPECT_FALSE(window->isVisible()) << "the desktop's prompt is not behind it";
    EXPECT_TRUE(waitUntil([this] { return window->isVisible(); }));
    EXPECT_EQ(field(u"API key (stored in Keychain)"_s)->text(), u"typed");
    EXPECT_FALSE(
        saysMoreThan(u"The API key is not stored: the keyring stayed locked."_s).isEmpty());
    EXPECT_EQ(storedKey(), u"old");
    window->close();
    window->present();
    EXPECT_EQ(field(u"API key (stored in Keychain)"_s)->text(), QString());
}

TEST_F(SettingsViewTest, theKeyNeverGetsIntoTheDefaults) {
    show();
    field(u"API key (stored in Keychain)"_s)->setText(u"sk-secret"_s);
    button(u"Save"_s)->click();
    for (const QString &key :
         {u"ai-api-key"_s, u"aiApiKey"_s, u"apiKey"_s, u"aiBaseURL"_s, u"aiModel"_s})
        EXPECT_FALSE(defaults.value(key).toString().contains(u"secret"_s));
    EXPECT_EQ(storedKey(), u"sk-secret");
}

TEST_F(SettingsViewTest, returnSavesWhereverTheKeyboardIs) {
    show();
    const std::function<QWidget *()> places[]{
        [this] { return button(u"Change"_s); }, [this] { return field(u"Model"_s); },
        [this] { return enable(); }, [this] { return remove(u"/two"_s); }};
    for (const auto &place : places) {
        place()->setFocus();
        press(place(), KEY_ENTER, Qt::Key_Return, {}, u"\r"_s);
        EXPECT_FALSE(window->isVisible());
        window->present();
    }
    EXPECT_FALSE(window->recording());
    EXPECT_EQ(rows(), (QStringList{u"/one"_s, u"/two"_s}));
}

TEST_F(SettingsViewTest, escapeEndsTheRecordingFirstAndThenClosesWithoutSaving) {
    show();
    field(u"Model"_s)->setText(u"entered"_s);
    button(u"Change"_s)->click();
    EXPECT_TRUE(window->recording());
    press(field(u"Model"_s), KEY_ESC, Qt::Key_Escape);
    EXPECT_FALSE(window->recording());
    EXPECT_TRUE(window->isVisible());
    press(field(u"Model"_s), KEY_ESC, Qt::Key_Escape);
    EXPECT_FALSE(window->isVisible());
    EXPECT_TRUE(defaults.value(u"aiModel"_s).isUndefined());
}

TEST_F(SettingsViewTest, mnemonicsAreUnderlinedWhileAltIsHeld) {
    const auto underlined = [] {
        return QApplication::style()->styleHint(QStyle::SH_UnderlineShortcut) != 0;
    };
    show();
    EXPECT_FALSE(underlined());
    field(u"Model"_s)->setFocus(); // which would keep the release to itself
    const auto send = [this](QEvent::Type type) {
        QKeyEvent event(type, Qt::Key_Alt, Qt::NoModifier);
        QCoreApplication::sendEvent(window->windowHandle(), &event);
    };
    send(QEvent::KeyPress);
    EXPECT_TRUE(underlined());
    send(QEvent::KeyRelease);
    EXPECT_FALSE(underlined());
    send(QEvent::KeyPress);
    window->close(); // and Alt is let go of elsewhere
    EXPECT_FALSE(underlined());
}

TEST_F(SettingsViewTest, closingWithoutSaveStoresNothing) {
    show();
    field(u"Model"_s)->setText(u"entered"_s);
    window->close();
    EXPECT_TRUE(defaults.value(u"aiModel"_s).isUndefined());
    EXPECT_FALSE(window->saved());
}

// --- Colours

// --- Web search

TEST_F(SettingsViewTest, theWebSearchIsShownAndSavedWithTheOthers) {
    show();
    EXPECT_EQ(field(u"Search engine"_s)->text(), u"Google");
    EXPECT_EQ(field(u"Address (%s is the text)"_s)->text(), u"https://www.google.com/search?q=%s");
    field(u"Search engine"_s)->setText(u" Mine "_s);
    field(u"Address (%s is the text)"_s)->setText(u"https://x.org/?q=%s"_s);
    EXPECT_EQ(settings::webSearch(defaults).name, u"Google");
    button(u"Save"_s)->click();
    EXPECT_EQ(settings::webSearch(defaults),
              (settings::WebSearch{u"Mine"_s, u"https://x.org/?q=%s"_s}));
    window->present();
    EXPECT_EQ(field(u"Search engine"_s)->text(), u"Mine");
}

TEST_F(SettingsViewTest, aWebSearchThatCannotBeUsedSaysWhatItLacksAndIsNotStored) {
    defaults.set(u"webSearchURL"_s, u"https://x.org/?q=%s"_s);
    show();
    for (const QString &address : {u"https://x.org/"_s, u"javascript:%s"_s, QString()}) {
        field(u"Address (%s is the text)"_s)->setText(address);
        EXPECT_NE(saysMoreThan(u"This takes an address"_s), QString()) << qPrintable(address);
    }
    button(u"Save"_s)->click();
    EXPECT_TRUE(defaults.value(u"webSearchURL"_s).isUndefined());
    window->present();
    EXPECT_EQ(field(u"Search engine"_s)->text(), u"Google");
    EXPECT_EQ(saysMoreThan(u"This takes an address"_s), QString());
}

TEST_F(SettingsViewTest, savingTheUsualWebSearchChangesNoneOfItsRows) {
    show();
    button(u"Save"_s)->click();
    EXPECT_EQ(world.titles(u"quux"_s).front(), u"Search Google for “quux”");
}

TEST_F(SettingsViewTest, theShippedWordsAreListed) {
    show();
    EXPECT_GE(words().size(), 12);
    EXPECT_TRUE(words().contains(u"mdn"_s));
    EXPECT_TRUE(defaults.value(u"searchWords"_s).isUndefined()) << "showing stores nothing";
}

TEST_F(SettingsViewTest, aWordIsAddedByItsCellsAndStoredOnceItCanBeSearchedBy) {
    show();
    const qsizetype before = words().size();
    button(u"Add word"_s)->click();
    ASSERT_EQ(words().size(), before + 1);
    ASSERT_TRUE(cellEditor()) << "its word is being entered";
    const int row = table()->rowCount() - 1;
    EXPECT_EQ(table()->currentRow(), row);
    enter(row, 0, u"Ex"_s);
    EXPECT_NE(saysMoreThan(u"“ex” takes an address"_s), QString());
    EXPECT_EQ(settings::searchWords(defaults).size(), static_cast<std::size_t>(before));
    enter(row, 1, u"Example"_s);
    enter(row, 2, u"https://example.org/?q=%s"_s);
    EXPECT_EQ(saysMoreThan(u"“ex”"_s), QString());
    EXPECT_EQ(settings::searchWords(defaults).size(), static_cast<std::size_t>(before) + 1);
    EXPECT_EQ(world.titles(u"ex quux"_s).front(), u"Search Example for “quux”");
}

TEST_F(SettingsViewTest, aWordIsChangedRemovedAndRestored) {
    show();
    const auto rowOf = [this](const QString &word) {
        return static_cast<int>(words().indexOf(word));
    };
    enter(rowOf(u"mdn"_s), 1, u"Mozilla"_s);
    EXPECT_EQ(world.titles(u"mdn x"_s).front(), u"Search Mozilla for “x”");
    EXPECT_FALSE(button(u"Remove word"_s)->isEnabled());
    table()->setCurrentCell(rowOf(u"gh"_s), 0);
    button(u"Remove word"_s)->click();
    EXPECT_FALSE(words().contains(u"gh"_s));
    EXPECT_EQ(world.titles(u"gh x"_s).front(), u"Search Google for “gh x”");
    button(u"Restore defaults"_s)->click();
    EXPECT_TRUE(words().contains(u"gh"_s));
    EXPECT_EQ(world.titles(u"mdn x"_s).front(), u"Search MDN for “x”");
    EXPECT_TRUE(defaults.value(u"searchWords"_s).isUndefined());
}

TEST_F(SettingsViewTest, allWordsCanBeRemoved) {
    show();
    table()->setCurrentCell(0, 0);
    while (button(u"Remove word"_s)->isEnabled())
        button(u"Remove word"_s)->click();
    EXPECT_EQ(words(), QStringList());
    EXPECT_TRUE(settings::searchWords(defaults).empty());
}

TEST_F(SettingsViewTest, ofAWordThatIsThereTwiceTheLowerOneCountsAndThatIsSaid) {
    show();
    enter(0, 0, u"dup"_s);
    enter(1, 0, u"DUP"_s);
    enter(1, 1, u"Lower"_s);
    EXPECT_TRUE(says(u"“dup” is there twice; the lower one counts."_s));
    EXPECT_EQ(world.titles(u"dup x"_s).front(), u"Search Lower for “x”");
}

TEST_F(SettingsViewTest, returnInACellEndsItsEditingAndSavesNothing) {
    show();
    button(u"Add word"_s)->click();
    cellEditor()->setText(u"ex"_s);
    press(cellEditor(), KEY_ENTER, Qt::Key_Return);
    EXPECT_TRUE(waitUntil([this] { return words().last() == u"ex"; }));
    EXPECT_TRUE(window->isVisible());
    EXPECT_FALSE(window->saved());
}

TEST(WindowStyleTest, aLightDesktopThatWantsDarkProgramsGetsADarkWindow) {
    const QPalette light(QColor(0xEF, 0xEF, 0xEF));
    const QPalette dark(QColor(0x20, 0x20, 0x20));
    ASSERT_TRUE(style::isDark(dark) && !style::isDark(light));
    Appearance appearance;
    for (const ColorScheme scheme :
         {ColorScheme::NoPreference, ColorScheme::Light, ColorScheme::Dark}) {
        appearance.colorScheme = scheme;
        style::setAppearance(appearance);
        EXPECT_EQ(style::isDark(style::windowPalette(light)), scheme == ColorScheme::Dark);
        EXPECT_EQ(style::windowPalette(dark).color(QPalette::Window), dark.color(QPalette::Window))
            << "a theme that is dark by itself stays";
    }
    style::setAppearance({});
}

TEST(WindowStyleTest, theUsersAccentAndContrastHoldInLightAndDark) {
    const QPalette light(QColor(0xEF, 0xEF, 0xEF));
    Appearance appearance;
    appearance.accent = 0x884422;
    for (const ColorScheme scheme : {ColorScheme::Light, ColorScheme::Dark}) {
        appearance.colorScheme = scheme;
        appearance.highContrast = false;
        style::setAppearance(appearance);
        QPalette palette = style::windowPalette(light);
        EXPECT_EQ(palette.color(QPalette::Highlight), QColor(0x88, 0x44, 0x22));
        EXPECT_NE(palette.color(QPalette::PlaceholderText), palette.color(QPalette::WindowText));
        appearance.highContrast = true;
        style::setAppearance(appearance);
        palette = style::windowPalette(light);
        EXPECT_EQ(palette.color(QPalette::PlaceholderText), palette.color(QPalette::WindowText));
    }
    style::setAppearance({});
}
