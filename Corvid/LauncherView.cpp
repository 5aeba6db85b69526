#include "LauncherView.h"

#include "LauncherViewModel.h"
#include "Panel/AnswerArea.h"
#include "Panel/PanelKeys.h"
#include "Panel/ResultList.h"
#include "Panel/SearchField.h"
#include "Panel/Shapes.h"
#include "Panel/Style.h"
#include "Panel/Symbol.h"

#include <QBoxLayout>
#include <QCoreApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QLinearGradient>
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

QLabel *makeFooterLabel(const QString &text) {
    auto *label = new QLabel(text);
    label->setTextFormat(Qt::PlainText);
    label->setFont(style::sized(QFont(), 11));
    return label;
}

QColor cardOver(PanelSurface::Behind behind) {
    // What is not blurred would be read through the card, however faint it were.
    return style::faded({30, 31, 36}, behind == PanelSurface::Behind::BlurredDesktop ? 0.82 : 1);
}

} // namespace

LauncherView::LauncherView(LauncherViewModel &viewModel, QWidget *parent)
    : QWidget(parent), viewModel_(viewModel) {
    listArea_ = new QWidget(this); // since a layout keeps its margins when the list is hidden
    auto *list = new QVBoxLayout(listArea_);
    list->setContentsMargins(style::listInset, style::listInset, style::listInset, 0);
    list_ = new ResultList(listArea_);
    list->addWidget(list_);
    answer_ = new AnswerArea([this]() -> const QString & { return viewModel_.aiText(); }, this);

    auto *stack = new QVBoxLayout(this);
    stack->setContentsMargins(0, 0, 0, 0);
    stack->setSpacing(0);
    stack->addLayout(makeSearchBar());
    stack->addWidget(makeDivider());
    stack->addWidget(listArea_, 1);
    stack->addWidget(answer_, 1);
    stack->addWidget(makeDivider());
    stack->addLayout(makeFooter());
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

QLayout *LauncherView::makeFooter() {
    status_ = makeFooterLabel({});
    auto *footer = new QHBoxLayout;
    footer->setContentsMargins(style::barPaddingX, style::footerPaddingY, style::barPaddingX,
                               style::footerPaddingY);
    footer->addWidget(status_);
    hint_ = makeFooterLabel({});
    hint_->hide();
    // Rather cut off than wider than the panel.
    hint_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    footer->addWidget(hint_, 1);
    footer->addStretch();
    footer->addWidget(makeFooterLabel(u"Corvid"_s));
    return footer;
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

    connect(&viewModel_, &LauncherViewModel::queryChanged, this, &LauncherView::showQuery);
    connect(&viewModel_, &LauncherViewModel::resultsChanged, this, &LauncherView::showResults);
    connect(&viewModel_, &LauncherViewModel::rowChanged, this, [this](int row) {
        if (listIsStale_)
            return;
        list_->setRow(row, viewModel_.results()[static_cast<std::size_t>(row)]);
    });
    connect(&viewModel_, &LauncherViewModel::pathCopied, list_, &ResultList::confirmCopy);
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
    connect(&viewModel_, &LauncherViewModel::hintChanged, this, [this] {
        hint_->setText(u"·  "_s + viewModel_.hint());
        hint_->setVisible(!viewModel_.hint().isEmpty());
    });
    connect(&viewModel_, &LauncherViewModel::aiModeChanged, this, &LauncherView::showMode);
    connect(&viewModel_, &LauncherViewModel::aiQuestionChanged, this, &LauncherView::showAnswer);
    connect(&viewModel_, &LauncherViewModel::aiResponseChanged, answer_,
            &AnswerArea::answerChanged);
    connect(&viewModel_, &LauncherViewModel::aiFailedChanged, this, &LauncherView::showAnswerKind);
    connect(&viewModel_, &LauncherViewModel::aiAdviceChanged, answer_, &AnswerArea::answerChanged);
    connect(&viewModel_, &LauncherViewModel::aiBusyChanged, this,
            [this] { answer_->setBusy(viewModel_.aiBusy()); });
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
    if (!listIsStale_)
        list_->setRows(viewModel_.results(), viewModel_.selected());
}

void LauncherView::showEvent(QShowEvent *event) {
    QWidget::showEvent(event);
    askToQuit(Asking::No);
    if (listIsStale_)
        showResults();
}

void LauncherView::showStatus() {
    if (quitAsked_)
        status_->setText(u"Press Control+Q again to quit Corvid"_s);
    else if (!viewModel_.statusText().isEmpty())
        status_->setText(viewModel_.statusText());
    else if (viewModel_.aiMode())
        status_->setText(u"Esc to go back"_s);
    else
        status_->setText(u"↑↓ navigate  ⏎ open  esc close"_s);
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

// While an answer is shown the arrows scroll it: moving a selection that nobody sees would make
// Return a gamble.
void LauncherView::step(int lines) {
    if (viewModel_.aiMode())
        answer_->scrollBy(lines);
    else
        viewModel_.moveSelection(lines);
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
    QPalette colours;
    colours.setColor(QPalette::Base, Qt::transparent);
    colours.setColor(QPalette::Text, style::primary());
    colours.setColor(QPalette::PlaceholderText, style::tertiary());
    colours.setColor(QPalette::WindowText, style::tertiary()); // of the footer
    colours.setColor(QPalette::Mid, style::divider());
    colours.setColor(QPalette::Highlight, style::accent());
    colours.setColor(QPalette::HighlightedText, Qt::white);
    setPalette(colours);
    update();
}

void LauncherView::setBehind(PanelSurface::Behind behind) {
    behind_ = behind;
    update();
}

void LauncherView::paintEvent(QPaintEvent * /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(cardOver(behind_));
    painter.drawPath(continuousRoundedRect(rect(), style::cardRadius));

    QLinearGradient outline(0, 0, 0, height());
    outline.setColorAt(0, style::white(0.22));
    outline.setColorAt(1, style::white(0.04));
    painter.setPen(QPen(outline, 1));
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(continuousRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5),
                                           style::cardRadius - 0.5));
}

} // namespace corvid
