// The panel's content with real widgets, on the offscreen platform.

#include "LauncherView.h"

#include "Fakes/LauncherWorld.h"
#include "ResultList.h"
#include "SearchField.h"
#include "Style.h"
#include "Symbol.h"
#include "Wait.h"

#include <QApplication>
#include <QImage>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QLabel>
#include <QMouseEvent>
#include <QScrollBar>

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

std::vector<AppEntry> manyApps() {
    std::vector<AppEntry> apps;
    for (int i = 0; i < 9; ++i)
        apps.push_back(makeApp(u"foo%1"_s.arg(i)));
    return apps;
}

Image drawableIcon() {
    QImage icon(32, 32, QImage::Format_ARGB32_Premultiplied);
    icon.fill(Qt::blue);
    return std::make_shared<const QImage>(icon);
}

class LauncherViewTest : public ::testing::Test {
protected:
    LauncherViewTest() {
        world.workspace.generic = drawableIcon();
        view.resize(style::panelWidth, style::panelHeight);
        view.show();
        field->setFocus();
    }

    void type(const QString &text) {
        for (const QChar c : text)
            press(0, Qt::NoModifier, c);
    }
    void press(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier,
               const QString &text = {}) {
        QKeyEvent event(QEvent::KeyPress, key, modifiers, text);
        QApplication::sendEvent(field, &event);
    }
    void compose(const QString &marked, const QString &committed = {}) {
        QInputMethodEvent event(marked, {});
        event.setCommitString(committed);
        QApplication::sendEvent(field, &event);
    }
    void click(int row) {
        const QPointF at = list->visualRect(list->model()->index(row, 0)).center();
        for (const QEvent::Type type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease}) {
            QMouseEvent event(type, at, list->viewport()->mapToGlobal(at), Qt::LeftButton,
                              Qt::LeftButton, Qt::NoModifier);
            QApplication::sendEvent(list->viewport(), &event);
        }
    }
    QStringList texts() const {
        QStringList result;
        for (const QLabel *label : view.findChildren<QLabel *>())
            result.append(label->text());
        return result;
    }
    Symbol *clearButton() const {
        for (Symbol *symbol : view.findChildren<Symbol *>()) {
            if (symbol->accessibleName() == u"Clear")
                return symbol;
        }
        return nullptr;
    }

    LauncherWorld world{manyApps(), {}};
    LauncherView view{world.model};
    SearchField *field = view.findChild<SearchField *>();
    ResultList *list = view.findChild<ResultList *>();
};

} // namespace

TEST_F(LauncherViewTest, everyKeyStrokeUpdatesTheQuery) {
    type(u"f"_s);
    EXPECT_EQ(world.model.query(), u"f");
    type(u"o"_s);
    EXPECT_EQ(world.model.query(), u"fo");
    EXPECT_EQ(list->model()->rowCount(), 9);
}

TEST_F(LauncherViewTest, theClearButtonIsThereFromTheFirstCharacterOnAndResets) {
    ASSERT_TRUE(clearButton());
    EXPECT_FALSE(clearButton()->isVisible());
    type(u"f"_s);
    EXPECT_TRUE(clearButton()->isVisible());
    clearButton()->click();
    EXPECT_EQ(world.model.query(), QString());
    EXPECT_EQ(field->text(), QString());
    EXPECT_FALSE(clearButton()->isVisible());
}

TEST_F(LauncherViewTest, returnArrowsAndEscapeReachTheViewModelInALaterTurn) {
    type(u"foo"_s);
    press(Qt::Key_Down);
    EXPECT_EQ(world.model.selected(), 0) << "not from within the field's own event";
    EXPECT_TRUE(waitUntil([&] { return world.model.selected() == 1; }));
    press(Qt::Key_Up);
    EXPECT_TRUE(waitUntil([&] { return world.model.selected() == 0; }));
    press(Qt::Key_Return);
    EXPECT_TRUE(waitUntil([&] { return world.actions.size() == 1; }));
    press(Qt::Key_Escape);
    EXPECT_TRUE(waitUntil([&] { return world.hides == 2; })) << "one for the row, one for Escape";
}

TEST_F(LauncherViewTest, keysThatReachThePanelWithoutTheFieldWorkTheSame) {
    type(u"foo"_s);
    for (const auto &[key, selected] : {std::pair{Qt::Key_Down, 1}, {Qt::Key_Up, 0}}) {
        QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier);
        QApplication::sendEvent(&view, &event);
        EXPECT_EQ(world.model.selected(), selected);
    }
    QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
    QApplication::sendEvent(&view, &escape);
    EXPECT_EQ(world.hides, 1);
}

TEST_F(LauncherViewTest, controlAndSuperAreCommand) {
    type(u"foo"_s);
    press(Qt::Key_2, Qt::ControlModifier, u"\u0000"_s);
    press(Qt::Key_3, Qt::MetaModifier);
    press(Qt::Key_4, Qt::AltModifier);
    EXPECT_EQ(world.actions, (std::vector<LauncherAction>{OpenApp{makeApp(u"foo1"_s)},
                                                          OpenApp{makeApp(u"foo2"_s)}}));
}

TEST_F(LauncherViewTest, shiftReturnAsksForANewWindow) {
    type(u"foo1"_s);
    press(Qt::Key_Return, Qt::ShiftModifier);
    EXPECT_EQ(world.actions,
              (std::vector<LauncherAction>{OpenApp{makeApp(u"foo1"_s), OpenApp::Window::New}}));
    QCoreApplication::processEvents();
    EXPECT_EQ(world.actions.size(), 1U) << "submitted twice";
}

TEST_F(LauncherViewTest, whileComposingNoKeyIsTheLaunchers) {
    type(u"foo"_s);
    compose(u"か"_s);
    for (const int key : {Qt::Key_Return, Qt::Key_Up, Qt::Key_Down, Qt::Key_Escape})
        press(key);
    press(Qt::Key_1, Qt::ControlModifier);
    QCoreApplication::processEvents();
    EXPECT_EQ(world.model.selected(), 0);
    EXPECT_TRUE(world.actions.empty());
    EXPECT_EQ(world.hides, 0);
    EXPECT_EQ(world.model.query(), u"foo");
}

TEST_F(LauncherViewTest, aCompositionReachesTheQueryWhenItIsCommitted) {
    type(u"foo"_s);
    field->selectAll();
    compose(u"か"_s);
    EXPECT_EQ(world.model.query(), u"foo") << "though composing has replaced the selection";
    compose(QString(), u"火"_s);
    EXPECT_EQ(world.model.query(), u"火");
    press(Qt::Key_Escape);
    EXPECT_TRUE(waitUntil([&] { return world.hides == 1; })) << "the keys are the launcher's again";
}

TEST_F(LauncherViewTest, aCompositionThatIsDroppedLeavesTheKeysToTheLauncher) {
    compose(u"か"_s);
    type(u"x"_s);
    world.model.setQuery(u"foo"_s);
    press(Qt::Key_Return);
    EXPECT_TRUE(waitUntil([&] { return world.actions.size() == 1; }));
}

TEST_F(LauncherViewTest, aClickSubmitsThatRowThoughAnotherWasSelected) {
    type(u"foo"_s);
    click(2);
    EXPECT_EQ(world.actions, std::vector<LauncherAction>{OpenApp{makeApp(u"foo2"_s)}});
    EXPECT_EQ(world.model.selected(), 2);
}

TEST_F(LauncherViewTest, theSelectionScrollsJustFarEnough) {
    type(u"foo"_s);
    const int shown = list->viewport()->height();
    ASSERT_LT(shown, 9 * style::rowHeight) << "or nothing scrolls";
    QScrollBar *bar = list->verticalScrollBar();
    world.model.setSelected(shown / style::rowHeight - 1);
    EXPECT_EQ(bar->value(), 0) << "still wholly visible";
    world.model.setSelected(8);
    EXPECT_TRUE(waitUntil([&] { return bar->value() == 9 * style::rowHeight - shown; }));
    world.model.setSelected(7);
    QCoreApplication::processEvents();
    EXPECT_EQ(bar->value(), 9 * style::rowHeight - shown);
    world.model.setSelected(0);
    EXPECT_TRUE(waitUntil([&] { return bar->value() == 0; }));
}

TEST_F(LauncherViewTest, anIconThatArrivesDoesNotScroll) {
    type(u"foo"_s);
    world.model.setSelected(8);
    QScrollBar *bar = list->verticalScrollBar();
    EXPECT_TRUE(waitUntil([&] { return bar->value() == bar->maximum(); }));
    bar->setValue(0);
    world.model.updateIcon(makeApp(u"foo0"_s).path, drawableIcon());
    QCoreApplication::processEvents();
    EXPECT_EQ(bar->value(), 0);
}

TEST_F(LauncherViewTest, whatChangesWhileHiddenIsThereWhenShown) {
    view.hide();
    world.model.setQuery(u"foo"_s);
    world.model.setSelected(1);
    world.model.updateIcon(makeApp(u"foo0"_s).path, drawableIcon());
    EXPECT_EQ(list->model()->rowCount(), 0);
    view.show();
    EXPECT_EQ(list->model()->rowCount(), 9);
    EXPECT_EQ(list->currentIndex().row(), 1);
}

TEST_F(LauncherViewTest, anEmptyListSaysNoMatches) {
    // The words are painted, so the picture must differ from that of a list with its words off.
    const QImage empty = list->grab().toImage();
    int lit = 0;
    for (int y = 0; y < 40; ++y) {
        for (int x = 0; x < empty.width(); ++x)
            lit += qAlpha(empty.pixel(x, y)) > 0 && qGray(empty.pixel(x, y)) > 40;
    }
    EXPECT_GT(lit, 50);
}

TEST_F(LauncherViewTest, theFooterShowsTheKeysUnlessThereIsAStatus) {
    EXPECT_TRUE(texts().contains(u"↑↓ navigate  ⏎ open  esc close"_s));
    EXPECT_TRUE(texts().contains(u"Corvid"_s));
    type(u"ai x"_s);
    EXPECT_TRUE(texts().contains(u"Ask AI  ·  Return to send"_s));
    EXPECT_FALSE(texts().contains(u"↑↓ navigate  ⏎ open  esc close"_s));
}

TEST_F(LauncherViewTest, thePlaceholderTellsWhatToType) {
    EXPECT_EQ(field->placeholderText(),
              u"Search apps, projects, or try “code editor”, “frontend in cursor”, “ai ...”");
}

TEST_F(LauncherViewTest, theLayoutIsAsDesigned) {
    type(u"foo"_s);
    QCoreApplication::processEvents();
    EXPECT_EQ(field->height(), 34);
    EXPECT_EQ(field->mapTo(&view, QPoint()).y(), 14);
    EXPECT_EQ(field->font().pixelSize(), 21);
    EXPECT_EQ(field->font().weight(), QFont::Light);
    EXPECT_EQ(list->mapTo(&view, QPoint()), QPoint(8, 14 + 34 + 14 + 1 + 8));
    EXPECT_EQ(list->width(), 660 - 2 * 8);
    EXPECT_EQ(list->visualRect(list->model()->index(1, 0)), QRect(0, 46, 644, 46));
    EXPECT_EQ(view.findChild<Symbol *>()->mapTo(&view, QPoint()).x(), 18);
    EXPECT_EQ(view.findChild<Symbol *>()->size(), QSize(18, 18));
}

TEST_F(LauncherViewTest, theViewModelCanAskForTheFocus) {
    field->clearFocus();
    world.model.setFocusSearch(true);
    EXPECT_FALSE(world.model.focusSearch()) << "cleared once it is done";
    EXPECT_EQ(view.focusWidget(), field);
}

TEST_F(LauncherViewTest, theCurrentFieldIsTheNewestThatLives) {
    EXPECT_EQ(SearchField::current(), field);
    {
        const SearchField newer;
        EXPECT_EQ(SearchField::current(), &newer);
    }
    EXPECT_EQ(SearchField::current(), nullptr);
}
