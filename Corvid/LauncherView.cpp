#include "LauncherView.h"

#include "Base/VirtualKeys.h"
#include "HotKeyManager.h"
#include "LauncherViewModel.h"
#include "Panel/AnswerArea.h"
#include "Panel/KeyCatcher.h"
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

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

QFrame *makeDivider(QWidget *parent) {
    auto *divider = new QFrame(parent);
    divider->setFixedHeight(1);
    divider->setAutoFillBackground(true);
    QPalette colours = divider->palette();
    colours.setColor(QPalette::Window, style::divider());
    divider->setPalette(colours);
    return divider;
}

QLabel *makeFooterLabel(QWidget *parent) {
    auto *label = new QLabel(parent);
    label->setTextFormat(Qt::PlainText);
    return label;
}

void applyFooterStyle(QLabel *label) {
    QFont font = style::font();
    font.setPixelSize(style::footerFontSize);
    label->setFont(font);
    QPalette colours = label->palette();
    colours.setColor(QPalette::WindowText, style::tertiary());
    label->setPalette(colours);
}

QVBoxLayout *makeStack(QWidget *parent) {
    auto *stack = new QVBoxLayout(parent);
    stack->setContentsMargins(0, 0, 0, 0);
    stack->setSpacing(0);
    return stack;
}

QColor cardColour(Backdrop backdrop) {
    switch (backdrop) {
    case Backdrop::Composited:
        return style::card();
    case Backdrop::Blurred:
        return style::blurredCard();
    case Backdrop::Opaque:
        break;
    }
    return style::opaqueCard();
}

// What the key at this position types on a US keyboard; empty when that is no letter or digit.
QString characterByPosition(const QKeyEvent &event) {
    const std::optional<quint32> key = virtualKey(event.nativeScanCode() - evdevOffset);
    const QString name = key ? HotKeyManager::describe(*key, 0).trimmed() : QString();
    return name.size() == 1 && name.front().isLetterOrNumber() ? name : QString();
}

// The press as the view model sees it. The key, not its text: with Control held the text is a
// control character. Where the layout has no Latin letter or digit on the key, its place counts.
KeyPress keyPressOf(const QKeyEvent &event) {
    KeyPress press;
    press.command = event.modifiers().testFlag(Qt::ControlModifier) ||
                    event.modifiers().testFlag(Qt::MetaModifier);
    press.shift = event.modifiers().testFlag(Qt::ShiftModifier);
    press.isReturn = event.key() == Qt::Key_Return || event.key() == Qt::Key_Enter;
    const int key = event.key();
    if ((key >= Qt::Key_0 && key <= Qt::Key_9) || (key >= Qt::Key_A && key <= Qt::Key_Z))
        press.characters = QChar(key);
    else
        press.characters = characterByPosition(event);
    return press;
}

} // namespace

LauncherView::LauncherView(LauncherViewModel &viewModel, QWidget *parent)
    : QWidget(parent), viewModel_(viewModel), searchBar_(new QWidget(this)),
      searchSymbol_(new Symbol(u"search"_s, style::searchSymbolSize, searchBar_)),
      field_(new SearchField(searchBar_)),
      clear_(new Symbol(u"clear"_s, style::searchSymbolSize, searchBar_)),
      listArea_(new QWidget(this)), list_(new ResultList(listArea_)),
      answer_(
          new AnswerArea([this]() -> const QString & { return viewModel_.aiResponse(); }, this)),
      footer_(new QWidget(this)), status_(makeFooterLabel(footer_)),
      product_(makeFooterLabel(footer_)), keys_(new KeyCatcher(this)) {
    buildSearchBar();
    buildFooter();
    auto *list = makeStack(listArea_);
    list->setContentsMargins(style::listInset, style::listInset, style::listInset, 0);
    list->addWidget(list_);
    auto *stack = makeStack(this);
    stack->addWidget(searchBar_);
    stack->addWidget(makeDivider(this));
    stack->addWidget(listArea_, 1);
    stack->addWidget(answer_, 1);
    stack->addWidget(makeDivider(this));
    stack->addWidget(footer_);
    setFocusProxy(field_);
    observe();
    applyStyle();
    showQuery();
    showResults();
    showMode();
}

void LauncherView::buildSearchBar() {
    searchSymbol_->setAttribute(Qt::WA_TransparentForMouseEvents);
    searchSymbol_->setEnabled(false);
    field_->setPlaceholderText(
        u"Search apps, projects, or try “code editor”, “frontend in cursor”, “ai ...”"_s);
    field_->setAccessibleName(u"Search"_s);
    clear_->setAccessibleName(u"Clear"_s);
    // Its place is kept while it is hidden: the text must not move when it appears.
    QSizePolicy keepsItsPlace = clear_->sizePolicy();
    keepsItsPlace.setRetainSizeWhenHidden(true);
    clear_->setSizePolicy(keepsItsPlace);

    auto *bar = new QHBoxLayout(searchBar_);
    bar->setContentsMargins(style::barPaddingX, style::searchPaddingY, style::barPaddingX,
                            style::searchPaddingY);
    bar->setSpacing(style::searchSymbolGap);
    bar->addWidget(searchSymbol_);
    bar->addWidget(field_, 1);
    bar->addWidget(clear_);
}

void LauncherView::buildFooter() {
    product_->setText(u"Corvid"_s);
    auto *line = new QHBoxLayout(footer_);
    line->setContentsMargins(style::barPaddingX, style::footerPaddingY, style::barPaddingX,
                             style::footerPaddingY);
    line->addWidget(status_);
    line->addStretch();
    line->addWidget(product_);
}

void LauncherView::observe() {
    connect(field_, &SearchField::edited, &viewModel_, &LauncherViewModel::setQuery);
    field_->onSubmit = [this] { viewModel_.submit(); };
    field_->onUp = keys_->onUp = [this] { move(-1); };
    field_->onDown = keys_->onDown = [this] { move(1); };
    field_->onEsc = keys_->onEsc = [this] { viewModel_.cancel(); };
    keys_->onEvent = [this](const QKeyEvent &event) { return offerKey(event); };
    answer_->onCopy = [this] { copyAnswer(); };
    connect(clear_, &Symbol::clicked, &viewModel_, &LauncherViewModel::reset);
    list_->onClick = [this](int row) {
        viewModel_.setSelected(row);
        viewModel_.submit();
    };

    connect(&viewModel_, &LauncherViewModel::queryChanged, this, &LauncherView::showQuery);
    connect(&viewModel_, &LauncherViewModel::resultsChanged, this, &LauncherView::showResults);
    connect(&viewModel_, &LauncherViewModel::iconChanged, this, [this](int row) {
        if (listIsStale_)
            return;
        list_->setIcon(row, viewModel_.results()[static_cast<std::size_t>(row)].icon);
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
    connect(&viewModel_, &LauncherViewModel::aiModeChanged, this, &LauncherView::showMode);
    connect(&viewModel_, &LauncherViewModel::aiQuestionChanged, this, &LauncherView::showAnswer);
    connect(&viewModel_, &LauncherViewModel::aiResponseChanged, this,
            [this] { answer_->answerChanged(); });
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
    if (listIsStale_)
        showResults();
}

void LauncherView::showStatus() {
    if (!viewModel_.statusText().isEmpty())
        status_->setText(viewModel_.statusText());
    else if (viewModel_.aiMode())
        status_->setText(u"Esc to go back"_s);
    else
        status_->setText(u"↑↓ navigate  ⏎ open  esc close"_s);
}

void LauncherView::showMode() {
    const bool answering = viewModel_.aiMode();
    searchSymbol_->setSymbol(answering ? u"sparkles"_s : u"search"_s);
    listArea_->setVisible(!answering);
    answer_->setVisible(answering);
    if (!answering && answer_->hasFocus())
        field_->setFocus();
    showAnswer();
    showStatus();
}

void LauncherView::showAnswer() {
    answer_->setQuestion(viewModel_.aiQuestion());
    answer_->answerChanged();
    answer_->setBusy(viewModel_.aiBusy());
}

// While an answer is shown the arrows scroll it: moving a selection that nobody sees would make
// Return a gamble.
void LauncherView::move(int lines) {
    if (viewModel_.aiMode())
        answer_->scrollLines(lines);
    else
        viewModel_.moveSelection(lines);
}

bool LauncherView::offerKey(const QKeyEvent &event) {
    if (viewModel_.aiMode() && offerAnswerKey(event))
        return true;
    return viewModel_.handleKeyEvent(keyPressOf(event));
}

bool LauncherView::offerAnswerKey(const QKeyEvent &event) {
    switch (event.key()) {
    case Qt::Key_PageUp:
        answer_->scrollPages(-1);
        return true;
    case Qt::Key_PageDown:
        answer_->scrollPages(1);
        return true;
    default:
        break;
    }
    const KeyPress press = keyPressOf(event);
    if (!press.command || press.characters.toLower() != "c"_L1)
        return false;
    copyAnswer();
    return true;
}

// What the reader has marked, else the whole answer.
void LauncherView::copyAnswer() {
    if (viewModel_.aiResponse().isEmpty())
        return;
    viewModel_.copyAnswer(answer_->markedText());
    answer_->confirmCopy();
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
    field_->applyStyle();
    list_->applyStyle();
    answer_->applyStyle();
    applyFooterStyle(status_);
    applyFooterStyle(product_);
    update();
}

void LauncherView::setBackdrop(Backdrop backdrop) {
    backdrop_ = backdrop;
    update();
}

void LauncherView::paintEvent(QPaintEvent * /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(cardColour(backdrop_));
    painter.drawPath(continuousRoundedRect(rect(), style::cardRadius));

    QLinearGradient outline(0, 0, 0, height());
    outline.setColorAt(0, style::white(style::outlineTopOpacity));
    outline.setColorAt(1, style::white(style::outlineBottomOpacity));
    painter.setPen(QPen(outline, 1));
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(continuousRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5),
                                           style::cardRadius - 0.5));
}

} // namespace corvid
