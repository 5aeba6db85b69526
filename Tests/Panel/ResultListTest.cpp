#include "Panel/ResultList.h"

#include "Panel/Style.h"
#include "Search/QueryRows.h"
#include "Worlds/Wait.h"

#include <QHoverEvent>
#include <QPaintEvent>

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

Rows rowsCalled(const QStringList &names) {
    Rows rows;
    for (const QString &name : names) {
        ResultItem row;
        row.id = row.title = name;
        rows.push_back(row);
    }
    return rows;
}

class ResultListTest : public ::testing::Test, public QObject {
protected:
    ResultListTest() {
        list.resize(style::panelWidth, 4 * style::rowHeight);
        list.setRows(rowsCalled({u"a"_s, u"b"_s, u"c"_s}), 0);
        list.viewport()->installEventFilter(this);
        list.show();
        EXPECT_TRUE(waitUntil([this] { return !painted.isEmpty(); }));
        paintedNow();
    }

    bool eventFilter(QObject * /*watched*/, QEvent *event) override {
        if (event->type() == QEvent::Paint)
            painted += static_cast<QPaintEvent *>(event)->region();
        return false;
    }
    /** What is painted of what is due, and forgets it. */
    QRegion paintedNow() {
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
        return std::exchange(painted, {});
    }
    QRect place(int row) const { return list.visualRect(list.model()->index(row, 0)); }

    ResultList list;
    QRegion painted;
};

} // namespace

TEST_F(ResultListTest, rowsThatStayAsTheyAreAreNotPaintedAgain) {
    list.setRows(rowsCalled({u"a"_s, u"b"_s, u"c"_s}), 0);
    EXPECT_TRUE(paintedNow().isEmpty());
}

TEST_F(ResultListTest, ofAsManyRowsThoseThatDifferArePaintedAgain) {
    list.setRows(rowsCalled({u"a"_s, u"x"_s, u"c"_s}), 0);
    EXPECT_EQ(paintedNow(), place(1));
    EXPECT_EQ(list.model()->index(1, 0).data().toString(), u"x");
}

TEST_F(ResultListTest, moreOrFewerRowsArePaintedWhole) {
    list.setRows(rowsCalled({u"a"_s, u"b"_s}), 0);
    EXPECT_TRUE(paintedNow().contains(place(1)));
    EXPECT_EQ(list.model()->rowCount(), 2);
}

TEST_F(ResultListTest, anotherRowSelectedIsPaintedWithTheOneThatWas) {
    list.setRows(rowsCalled({u"a"_s, u"b"_s, u"c"_s}), 2);
    EXPECT_EQ(paintedNow(), QRegion(place(0)) + place(2));
}

TEST_F(ResultListTest, takingOrLosingTheKeyboardPaintsNothing) {
    QPalette palette = list.palette();
    palette.setColor(QPalette::Inactive, QPalette::Base, Qt::red);
    list.viewport()->setPalette(palette);
    paintedNow();
    for (const QEvent::Type type : {QEvent::WindowDeactivate, QEvent::WindowActivate}) {
        QEvent event(type);
        QCoreApplication::sendEvent(&list, &event);
        QEvent sameForViewport(type);
        QCoreApplication::sendEvent(list.viewport(), &sameForViewport);
    }
    EXPECT_TRUE(paintedNow().isEmpty());
}

TEST_F(ResultListTest, thePointerPaintsOnlyTheRowThatItComesToOrLeaves) {
    const QPointF outside(-1, -1);
    const QPointF inside = place(1).center();
    const auto leave = [&] {
        QHoverEvent event(QEvent::HoverLeave, outside, outside, inside);
        QCoreApplication::sendEvent(list.viewport(), &event);
    };
    leave(); // wherever it was before
    paintedNow();
    QHoverEvent enters(QEvent::HoverEnter, inside, inside, outside);
    QCoreApplication::sendEvent(list.viewport(), &enters);
    EXPECT_EQ(paintedNow(), place(1));
    leave();
    EXPECT_EQ(paintedNow(), place(1));
}
