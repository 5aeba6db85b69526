#pragma once

#include "Panel/HeldKey.h"
#include "Platform/PanelSurface.h"

#include <QWidget>

class QKeyEvent;

namespace corvid {

class AnswerArea;
class FirstLines;
class Footer;
class LauncherViewModel;
struct KeyPress;
class ResultList;
class RowStrip;
class SearchField;
class Symbol;

/**
 * The whole content of the panel: search bar, result list or AI answer, and footer on a dark card.
 * While an answer covers the list a strip above the footer shows the row that Return would open.
 * Observes the view model and decides nothing itself. Main thread only.
 *
 * Its unit is longer than others: what each key does to field, list and answer is read in one
 * piece, and they meet nowhere but here.
 */
class LauncherView final : public QWidget {
    Q_OBJECT

public:
    /** The view model must outlive the view. */
    explicit LauncherView(LauncherViewModel &viewModel, QWidget *parent = nullptr);

    /** What the card lets through, and so how opaque it is. */
    void setBehind(PanelSurface::Behind behind) {
        behind_ = behind;
        update();
    }

    /** Takes over changed colours and fonts. */
    void applyStyle();

    bool eventFilter(QObject *watched, QEvent *event) override;

protected:
    void paintEvent(QPaintEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    QLayout *makeSearchBar();
    void observe();
    void showQuery();
    void showResults();
    void showStrip();
    void showFirstLines();
    void showStatus();
    void showMode();
    void showAnswer();
    void showAnswerKind();
    void step(int lines);
    void turnPage(int pages);
    bool handleKey(const QKeyEvent &event, const KeyPress &press);
    enum class Asking { No, Yes };
    void askToQuit(Asking asking);
    void copyAnswer();
    void copyLastCode();

    LauncherViewModel &viewModel_;
    PanelSurface::Behind behind_ = PanelSurface::Behind::Desktop;
    bool listIsStale_ = false; ///< the results changed while nobody could see them
    HeldKey heldKey_;
    bool quitAsked_ = false; ///< the next key, if it is the same, quits
    Symbol *searchSymbol_ = nullptr;
    SearchField *field_ = nullptr;
    Symbol *clear_ = nullptr;
    QWidget *listArea_ = nullptr;
    ResultList *list_ = nullptr;
    FirstLines *firstLines_ = nullptr;
    AnswerArea *answer_ = nullptr;
    RowStrip *strip_ = nullptr;
    Footer *footer_ = nullptr;
};

} // namespace corvid
