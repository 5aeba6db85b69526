#pragma once

#include <QWidget>

class QKeyEvent;
class QLabel;

namespace corvid {

class AnswerArea;
class KeyCatcher;
class LauncherViewModel;
class ResultList;
class SearchField;
class Symbol;

/** What the card is drawn over. */
enum class Backdrop {
    Composited, ///< translucent: the desktop shows through
    Blurred,    ///< the compositor also blurs what shows through
    Opaque,     ///< no compositor: the card fills its window
};

/**
 * The whole content of the panel: search bar, result list or AI answer, and footer on a dark card.
 * Observes the view model and decides nothing itself. Main thread only.
 */
class LauncherView final : public QWidget {
    Q_OBJECT

public:
    /** The view model must outlive the view. */
    explicit LauncherView(LauncherViewModel &viewModel, QWidget *parent = nullptr);

    void setBackdrop(Backdrop backdrop);

    /** Takes over changed colours and fonts. */
    void applyStyle();

protected:
    void paintEvent(QPaintEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    void buildSearchBar();
    void buildFooter();
    void observe();
    void showQuery();
    void showResults();
    void showStatus();
    void showMode();
    void showAnswer();
    void move(int lines);
    bool offerKey(const QKeyEvent &event);
    bool offerAnswerKey(const QKeyEvent &event);
    void copyAnswer();

    LauncherViewModel &viewModel_;
    Backdrop backdrop_ = Backdrop::Composited;
    bool listIsStale_ = false; ///< the results changed while nobody could see them
    QWidget *searchBar_;
    Symbol *searchSymbol_;
    SearchField *field_;
    Symbol *clear_;
    QWidget *listArea_;
    ResultList *list_;
    AnswerArea *answer_;
    QWidget *footer_;
    QLabel *status_;
    QLabel *product_;
    KeyCatcher *keys_;
};

} // namespace corvid
