#include "LauncherView.h"

#include "LauncherViewModel.h"
#include "Panel/AnswerArea.h"
#include "Panel/FirstLines.h"
#include "Panel/Footer.h"
#include "Panel/PanelKeys.h"
#include "Panel/ResultList.h"
#include "Panel/RowStrip.h"
#include "Panel/SearchField.h"
#include "Panel/Shapes.h"
#include "Panel/Style.h"
#include "Panel/Symbol.h"
#include "ProjectIndex.h"

#include <QBoxLayout>
#include <QCoreApplication>
#include <QFrame>
#include <QKeyEvent>
#include <QPainter>

#include <limits>
#include <utility>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

QFrame *makeDivider() {
    auto *divider = new QFrame;
    divider->setFixedHeight(1);
    divider->setAutoFillBackground(true);
    divider->setBackgroundRole(QPalette::Mid);
    return divider;
}

} // namespace

LauncherView::LauncherView(LauncherViewModel &viewModel, QWidget *parent)
    : QWidget(parent), viewModel_(viewModel) {
    listArea_ = new QWidget(this); // since a layout keeps its margins when the list is hidden
    auto *list = new QGridLayout(listArea_);
    list->setContentsMargins(style::listInset, style::listInset, style::listInset, 0);
    list_ = new ResultList(listArea_);
    list->addWidget(list_, 0, 0);
    // Over it, not in it: of a list's children screen readers know the rows alone.
    firstLines_ = new FirstLines(listArea_);
    list->addWidget(firstLines_, 0, 0);
    answer_ = new AnswerArea([this]() -> const QString & { return viewModel_.aiText(); }, this);
    strip_ = new RowStrip(this);
    footer_ = new Footer(this);

    auto *stack = new QVBoxLayout(this);
    stack->setContentsMargins(0, 0, 0, 0);
    stack->setSpacing(0);
    stack->addLayout(makeSearchBar());
    stack->addWidget(makeDivider());
    stack->addWidget(listArea_, 1);
    stack->addWidget(answer_, 1);
    stack->addWidget(strip_);
    stack->addWidget(makeDivider());
    stack->addWidget(footer_);
    setFocusProxy(field_);
    observe();
    applyStyle();
    showQuery();
    showResults();
    showMode();
}

QLayout *LauncherView::makeSearchBar() {
    searchSymbol_ = new Symbol(u"search"_s, style::searchSymbolSize, this);
    field_ = new SearchField(this);
    clear_ = new Symbol(u"clear"_s, style::searchSymbolSize, this);
    searchSymbol_->setAttribute(Qt::WA_TransparentForMouseEvents);
    searchSymbol_->setEnabled(false);
    field_->setPlaceholderText(
        u"Search apps, projects, or try “code editor”, “frontend in cursor”, “ai ...”"_s);
    field_->setAccessibleName(u"Search"_s);
    clear_->setAccessibleName(u"Clear"_s);
    // The text must not move when it appears.
    QSizePolicy keepsItsPlace = clear_->sizePolicy();
    keepsItsPlace.setRetainSizeWhenHidden(true);
    clear_->setSizePolicy(keepsItsPlace);

    auto *bar = new QHBoxLayout;
    bar->setContentsMargins(style::barPaddingX, style::searchPaddingY, style::barPaddingX,
                            style::searchPaddingY);
    bar->setSpacing(13);
    bar->addWidget(searchSymbol_);
    bar->addWidget(field_, 1);
    bar->addWidget(clear_);
    return bar;
}

void LauncherView::observe() {
    // Of the application, since a widget gets its keys straight from there.
    qApp->installEventFilter(this);
    connect(field_, &SearchField::edited, &viewModel_, &LauncherViewModel::setQuery);
    field_->onSubmit = [this] { viewModel_.submit(); };
    field_->onUp = [this] { step(-1); };
    field_->onDown = [this] { step(1); };
    field_->onEsc = [this] { viewModel_.cancel(); };
    connect(answer_, &AnswerArea::copyRequested, this, &LauncherView::copyAnswer);
    connect(answer_, &AnswerArea::copyCodeRequested, &viewModel_, &LauncherViewModel::copyAnswer);
    connect(answer_, &AnswerArea::stopRequested, &viewModel_, &LauncherViewModel::stopAnswer);
    connect(answer_, &AnswerArea::retryRequested, &viewModel_, &LauncherViewModel::askAgain);
    connect(answer_, &AnswerArea::linkClicked, &viewModel_, &LauncherViewModel::openAddress);
    connect(clear_, &Symbol::clicked, &viewModel_, &LauncherViewModel::reset);
    connect(list_, &ResultList::clicked, &viewModel_, [this](const QModelIndex &row) {
        // The second click of two may come when the first has hidden the panel already.
        if (isVisible())
            viewModel_.choose(row.row());
    });
    connect(strip_, &RowStrip::clicked, &viewModel_, [this] {
        if (isVisible())
            viewModel_.choose(viewModel_.selected());
    });

    connect(&viewModel_, &LauncherViewModel::queryChanged, this, &LauncherView::showQuery);
    connect(&viewModel_, &LauncherViewModel::resultsChanged, this, &LauncherView::showResults);
    connect(&viewModel_, &LauncherViewModel::rowChanged, this, [this](int row) {
        if (!listIsStale_)
            list_->setRow(row, viewModel_.results()[static_cast<std::size_t>(row)]);
        showStrip();
    });
    connect(&viewModel_, &LauncherViewModel::pathCopied, list_, &ResultList::confirmCopy);
    connect(&viewModel_, &LauncherViewModel::lineCopied, firstLines_, &FirstLines::confirmCopy);
    connect(&viewModel_, &LauncherViewModel::hotKeyHelpChanged, this, [this] {
        if (isVisible())
            showFirstLines();
    });
    connect(&viewModel_, &LauncherViewModel::focusSearchChanged, this, [this] {
        if (!viewModel_.focusSearch())
            return;
        field_->setFocus();
        viewModel_.setFocusSearch(false);
    });
    connect(&viewModel_, &LauncherViewModel::selectedChanged, this, [this] {
        if (!listIsStale_)
            list_->select(viewModel_.selected());
    });
    connect(&viewModel_, &LauncherViewModel::statusTextChanged, this, &LauncherView::showStatus);
    connect(&viewModel_, &LauncherViewModel::hintChanged, this,
            [this] { footer_->setHint(viewModel_.hint()); });
    connect(&viewModel_, &LauncherViewModel::aiModeChanged, this, &LauncherView::showMode);
    connect(&viewModel_, &LauncherViewModel::aiQuestionChanged, this, &LauncherView::showAnswer);
    connect(&viewModel_, &LauncherViewModel::aiResponseChanged, answer_,
            &AnswerArea::answerChanged);
    connect(&viewModel_, &LauncherViewModel::aiFailedChanged, this, &LauncherView::showAnswerKind);
    connect(&viewModel_, &LauncherViewModel::aiAdviceChanged, answer_, &AnswerArea::answerChanged);
    connect(&viewModel_, &LauncherViewModel::aiBusyChanged, this,
            [this] { answer_->setBusy(viewModel_.aiBusy()); });
    for (const auto signal :
         {&LauncherViewModel::resultsChanged, &LauncherViewModel::selectedChanged,
          &LauncherViewModel::aiModeChanged, &LauncherViewModel::aiQuestionChanged})
        connect(&viewModel_, signal, this, &LauncherView::showStrip);
    connect(&viewModel_, &LauncherViewModel::displayFlushRequested, this, [this] {
        if (window()->isVisible())
            QCoreApplication::sendPostedEvents(window(), QEvent::UpdateRequest);
    });
}

void LauncherView::showQuery() {
    if (field_->text() != viewModel_.query())
        field_->showText(viewModel_.query());
    clear_->setVisible(!viewModel_.query().isEmpty());
}

void LauncherView::showResults() {
    listIsStale_ = !isVisible();
    if (listIsStale_)
        return;
    list_->setRows(viewModel_.results(), viewModel_.selected());
    showFirstLines();
}

void LauncherView::showFirstLines() {
    const bool untouched = viewModel_.isUntouched();
    if (untouched)
        firstLines_->say(viewModel_.hotKeyHelp(), viewModel_.projects
                                                      ? viewModel_.projects->whyThereAreNone()
                                                      : std::nullopt);
    firstLines_->setVisible(untouched);
}

void LauncherView::showStrip() {
    strip_->showRow(viewModel_.coveredRow());
}

void LauncherView::showEvent(QShowEvent *event) {
    QWidget::showEvent(event);
    askToQuit(Asking::No);
    if (listIsStale_)
        showResults();
}

void LauncherView::showStatus() {
    if (quitAsked_)
        footer_->setStatus(u"Press Control+Q again to quit Corvid"_s);
    else if (!viewModel_.statusText().isEmpty())
        footer_->setStatus(viewModel_.statusText());
    else if (viewModel_.aiMode())
        footer_->setStatus(u"Esc to go back"_s);
    else
        footer_->setStatus(u"↑↓ navigate  ⏎ open  esc close"_s);
}

void LauncherView::showMode() {
    const bool answering = viewModel_.aiMode();
    searchSymbol_->setSymbol(answering ? u"sparkles"_s : u"search"_s);
    searchSymbol_->setAccessibleName(answering ? u"Showing an answer"_s : u"Search symbol"_s);
    listArea_->setVisible(!answering);
    answer_->setVisible(answering);
    if (!answering && answer_->hasFocus())
        field_->setFocus();
    showAnswer();
    showStatus();
}

void LauncherView::showAnswer() {
    answer_->setQuestion(viewModel_.aiQuestion());
    showAnswerKind();
    answer_->answerChanged();
    answer_->setBusy(viewModel_.aiBusy());
}

void LauncherView::showAnswerKind() {
    answer_->setKind(viewModel_.aiFailed() ? AnswerArea::Kind::Failure : AnswerArea::Kind::Answer);
}

// Moving a selection that nobody sees would make Return a gamble.
void LauncherView::step(int lines) {
    if (viewModel_.choosesRows())
        viewModel_.moveSelection(lines);
    else
        answer_->scrollBy(lines);
}

void LauncherView::turnPage(int pages) {
    if (viewModel_.aiMode())
        answer_->scrollBy(0, pages);
    else
        viewModel_.selectNearest(viewModel_.selected() + pages * list_->wholeRows());
}

// Sees every key press in the window before any widget does. While an input method is composing all
// keys are left to it.
bool LauncherView::eventFilter(QObject *watched, QEvent *event) {
    if (event->type() == QEvent::KeyRelease)
        heldKey_.released(*static_cast<QKeyEvent *>(event));
    if (event->type() != QEvent::KeyPress || !watched->isWidgetType() ||
        static_cast<QWidget *>(watched)->window() != window() || field_->isComposing())
        return false;
    const auto &key = *static_cast<QKeyEvent *>(event);
    KeyPress press = keyPressOf(key);
    press.repeats = heldKey_.repeatsWith(key);
    // What is marked it cuts, as everywhere.
    press.isDelete = press.isDelete && !viewModel_.aiMode() && !field_->hasSelectedText();
    const bool handled = handleKey(key, press);
    if (isModifier(key))
        return handled;
    // Each key works on the list as it is seen. Of Return the view model learns later.
    if (!press.isDelete && (handled || !press.isReturn))
        viewModel_.followForgotten();
    if (panelKeyOf(key) != PanelKey::Quit)
        askToQuit(Asking::No);
    return handled;
}

bool LauncherView::handleKey(const QKeyEvent &event, const KeyPress &press) {
    const bool answering = viewModel_.aiMode();
    if (answering && press.command && press.characters.toLower() == "c"_L1) {
        if (press.shift)
            copyLastCode();
        else
            copyAnswer();
        return true;
    }
    if (viewModel_.handleKeyEvent(press))
        return true;
    const PanelKey key = panelKeyOf(event);
    switch (key) {
    case PanelKey::Other:
        // With a modifier Home and End are the field's, to mark and to move in what was asked.
        if (answering && (event.key() == Qt::Key_Home || event.key() == Qt::Key_End) &&
            !event.modifiers().testAnyFlags(Qt::ShiftModifier | Qt::ControlModifier)) {
            answer_->scrollTo(event.key() == Qt::Key_Home ? AnswerArea::Edge::Beginning
                                                          : AnswerArea::Edge::End);
            return true;
        }
        // A digit with Alt would be text, but is meant for a row that is not there.
        return press.command && (event.modifiers() & ~Qt::KeypadModifier) == Qt::AltModifier;
    case PanelKey::Escape:
        viewModel_.cancel();
        return true;
    case PanelKey::Up:
    case PanelKey::Down:
        step(key == PanelKey::Up ? -1 : 1);
        return true;
    case PanelKey::PageUp:
    case PanelKey::PageDown:
        turnPage(key == PanelKey::PageUp ? -1 : 1);
        return true;
    case PanelKey::First:
    case PanelKey::Last:
        if (!answering)
            viewModel_.selectNearest(key == PanelKey::First ? 0 : std::numeric_limits<int>::max());
        return !answering;
    case PanelKey::DeleteWord:
        field_->deleteWord();
        return true;
    case PanelKey::DeleteToStart:
        field_->deleteToStart();
        return true;
    case PanelKey::Settings:
        viewModel_.openSettings();
        return true;
    case PanelKey::Quit:
        if (quitAsked_ && !press.repeats && viewModel_.onQuit)
            viewModel_.onQuit();
        askToQuit(Asking::Yes);
        return true;
    }
    return false;
}

void LauncherView::askToQuit(Asking asking) {
    const bool asks = asking == Asking::Yes;
    if (std::exchange(quitAsked_, asks) != asks)
        showStatus();
}

// What the reader has marked, else the whole answer.
void LauncherView::copyAnswer() {
    if (viewModel_.aiResponse().isEmpty())
        return;
    viewModel_.copyAnswer(answer_->markedText());
    answer_->confirmCopy();
}

void LauncherView::copyLastCode() {
    if (const QString code = answer_->lastCode(); !code.isEmpty())
        viewModel_.copyAnswer(code);
}

// A key that no other widget wanted was meant for the field.
void LauncherView::keyPressEvent(QKeyEvent *event) {
    if (window()->focusWidget() == field_) {
        QWidget::keyPressEvent(event);
        return;
    }
    field_->setFocus();
    QCoreApplication::sendEvent(field_, event);
}

void LauncherView::applyStyle() {
    setFont(style::font());
    setPalette(style::panelPalette());
    firstLines_->applyStyle();
    update();
}

void LauncherView::paintEvent(QPaintEvent * /*event*/) {
    QPainter painter(this);
    paintCard(painter, rect(), behind_);
}

} // namespace corvid
