#include "LauncherView.h"

#include "LauncherViewModel.h"
#include "ResultList.h"
#include "SearchField.h"
#include "Style.h"
#include "Symbol.h"

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
    QFont font = label->font();
    font.setPixelSize(style::footerFontSize);
    label->setFont(font);
    QPalette colours = label->palette();
    colours.setColor(QPalette::WindowText, style::tertiary());
    label->setPalette(colours);
    return label;
}

QVBoxLayout *makeStack(QWidget *parent) {
    auto *stack = new QVBoxLayout(parent);
    stack->setContentsMargins(0, 0, 0, 0);
    stack->setSpacing(0);
    return stack;
}

// The press as the view model sees it. The key, not its text: with Control held the text is a
// control character.
KeyPress keyPressOf(const QKeyEvent &event) {
    KeyPress press;
    press.command = event.modifiers().testFlag(Qt::ControlModifier) ||
                    event.modifiers().testFlag(Qt::MetaModifier);
    press.shift = event.modifiers().testFlag(Qt::ShiftModifier);
    press.isReturn = event.key() == Qt::Key_Return || event.key() == Qt::Key_Enter;
    if (event.key() >= Qt::Key_Space && event.key() <= Qt::Key_AsciiTilde)
        press.characters = QChar(event.key());
    return press;
}

} // namespace

LauncherView::LauncherView(LauncherViewModel &viewModel, QWidget *parent)
    : QWidget(parent), viewModel_(viewModel), searchBar_(new QWidget(this)),
      searchSymbol_(new Symbol(u"search"_s, style::searchSymbolSize, searchBar_)),
      field_(new SearchField(searchBar_)),
      clear_(new Symbol(u"clear"_s, style::searchSymbolSize, searchBar_)),
      list_(new ResultList(this)), footer_(new QWidget(this)), status_(makeFooterLabel(footer_)) {
    buildSearchBar();
    buildFooter();
    auto *stack = makeStack(this);
    stack->addWidget(searchBar_);
    stack->addWidget(makeDivider(this));
    auto *listArea = new QVBoxLayout;
    listArea->setContentsMargins(style::listInset, style::listInset, style::listInset, 0);
    listArea->addWidget(list_);
    stack->addLayout(listArea, 1);
    stack->addWidget(makeDivider(this));
    stack->addWidget(footer_);
    setFocusProxy(field_);
    observe();
    showQuery();
    showResults();
    showStatus();
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
    QLabel *product = makeFooterLabel(footer_);
    product->setText(u"Corvid"_s);
    auto *line = new QHBoxLayout(footer_);
    line->setContentsMargins(style::barPaddingX, style::footerPaddingY, style::barPaddingX,
                             style::footerPaddingY);
    line->addWidget(status_);
    line->addStretch();
    line->addWidget(product);
}

void LauncherView::observe() {
    connect(field_, &SearchField::edited, &viewModel_, &LauncherViewModel::setQuery);
    field_->onSubmit = [this] { viewModel_.submit(); };
    field_->onUp = [this] { viewModel_.moveSelection(-1); };
    field_->onDown = [this] { viewModel_.moveSelection(1); };
    field_->onEsc = [this] { viewModel_.cancel(); };
    field_->onEvent = [this](QKeyEvent *event) { return offerKey(event); };
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
    status_->setText(viewModel_.statusText().isEmpty() ? u"↑↓ navigate  ⏎ open  esc close"_s
                                                       : viewModel_.statusText());
}

bool LauncherView::offerKey(QKeyEvent *event) {
    return viewModel_.handleKeyEvent(keyPressOf(*event));
}

// Keys that reach the panel while the field does not have the focus.
void LauncherView::keyPressEvent(QKeyEvent *event) {
    if (offerKey(event))
        return;
    switch (event->key()) {
    case Qt::Key_Escape:
        viewModel_.cancel();
        break;
    case Qt::Key_Down:
        viewModel_.moveSelection(1);
        break;
    case Qt::Key_Up:
        viewModel_.moveSelection(-1);
        break;
    default:
        QWidget::keyPressEvent(event);
    }
}

void LauncherView::setBackdrop(Backdrop backdrop) {
    backdrop_ = backdrop;
    update();
}

void LauncherView::paintEvent(QPaintEvent * /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(backdrop_ == Backdrop::Opaque ? style::opaqueCard() : style::card());
    painter.drawRoundedRect(rect(), style::cardRadius, style::cardRadius);

    QLinearGradient outline(0, 0, 0, height());
    outline.setColorAt(0, style::white(style::outlineTopOpacity));
    outline.setColorAt(1, style::white(style::outlineBottomOpacity));
    painter.setPen(QPen(outline, 1));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), style::cardRadius - 0.5,
                            style::cardRadius - 0.5);
}

} // namespace corvid
