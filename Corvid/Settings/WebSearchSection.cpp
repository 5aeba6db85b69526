#include "Settings/WebSearchSection.h"

#include "Base/Settings.h"

#include <QBoxLayout>
#include <QGridLayout>
#include <QHeaderView>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalBlocker>
#include <QTableWidget>

#include <algorithm>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

enum Column { WordColumn, NameColumn, AddressColumn };

constexpr int rowsInSight = 6;
constexpr int cellPadding = 5; // above and below a cell's text
constexpr int wordWidth = 76;
constexpr int nameWidth = 128;
constexpr int gapOfFields = 8;

const QString needs = u"an address that begins with https:// or http:// and holds %s where the "
                      "text goes"_s;

QWidget *makeWordRow(QTableWidget *table, QLabel *hint) {
    auto *row = new QWidget;
    auto *lines = new QVBoxLayout(row);
    lines->setContentsMargins(rowPaddingX, rowPaddingY, rowPaddingX, rowPaddingY);
    lines->setSpacing(rowPaddingY);
    lines->addWidget(
        makeCaption(u"`mdn flexbox` searches MDN: a word, then what to look for. Click "
                    "a cell twice to change it."_s));
    lines->addWidget(table);
    lines->addWidget(hint);
    return row;
}

} // namespace

WebSearchSection::WebSearchSection(UserDefaults &defaults)
    : FormSection(u"Web search"_s), defaults_(defaults) {
    addRow(makeEngineFields());
    makeTable();
    wordHint_ = makeCaption();
    wordHint_->hide();
    addRow(makeWordRow(words_, wordHint_));

    addButton_ = makeButton(u"Add &word"_s);
    removeButton_ = makeButton(u"&Remove word"_s);
    QPushButton *restoreButton = makeButton(u"Restore de&faults"_s);
    connect(addButton_, &QPushButton::clicked, this, &WebSearchSection::add);
    connect(removeButton_, &QPushButton::clicked, this, &WebSearchSection::remove);
    connect(restoreButton, &QPushButton::clicked, this, &WebSearchSection::restore);
    addRow(makeRow({addButton_, removeButton_, new QLabel, restoreButton}));
}

QWidget *WebSearchSection::makeEngineFields() {
    auto *fields = new QWidget;
    auto *grid = new QGridLayout(fields);
    grid->setContentsMargins(rowPaddingX, gapOfFields, rowPaddingX, gapOfFields);
    grid->setHorizontalSpacing(labelGap);
    grid->setVerticalSpacing(gapOfFields);
    const auto addField = [grid](const QString &text) {
        auto *field = new QLineEdit;
        auto *label = new QLabel(text);
        label->setBuddy(field);
        const int row = grid->rowCount();
        grid->addWidget(label, row, 0);
        grid->addWidget(field, row, 1);
        return field;
    };
    name_ = addField(u"Search en&gine"_s);
    address_ = addField(u"A&ddress (%s is the text)"_s);
    connect(address_, &QLineEdit::textChanged, this, &WebSearchSection::showEngineHint);
    engineHint_ = makeCaption();
    grid->addWidget(engineHint_, grid->rowCount(), 0, 1, 2);
    engineHint_->hide();
    grid->setColumnStretch(1, 1);
    return fields;
}

void WebSearchSection::makeTable() {
    words_ = new QTableWidget(0, 3);
    words_->setAccessibleName(u"Search words"_s);
    words_->setHorizontalHeaderLabels({u"Word"_s, u"Name"_s, u"Address"_s});
    words_->setShowGrid(false);
    words_->setWordWrap(false);
    words_->setTextElideMode(Qt::ElideMiddle);
    words_->setTabKeyNavigation(false);
    words_->setSelectionMode(QAbstractItemView::SingleSelection);
    words_->setSelectionBehavior(QAbstractItemView::SelectRows);
    words_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    QHeaderView *columns = words_->horizontalHeader();
    columns->setDefaultAlignment(Qt::AlignLeading | Qt::AlignVCenter);
    columns->setHighlightSections(false);
    columns->setStretchLastSection(true);
    columns->resizeSection(WordColumn, wordWidth);
    columns->resizeSection(NameColumn, nameWidth);
    const int rowHeight = words_->fontMetrics().height() + 2 * cellPadding;
    words_->verticalHeader()->setMinimumSectionSize(rowHeight);
    words_->verticalHeader()->setDefaultSectionSize(rowHeight);
    words_->verticalHeader()->hide();
    words_->setFixedHeight(columns->sizeHint().height() + rowsInSight * rowHeight +
                           2 * words_->frameWidth());
    connect(words_, &QTableWidget::cellChanged, this, &WebSearchSection::storeWords);
    connect(words_, &QTableWidget::itemSelectionChanged, this, &WebSearchSection::enableRemoval);
}

void WebSearchSection::load() {
    const settings::WebSearch engine = settings::webSearch(defaults_);
    name_->setText(engine.name);
    address_->setText(engine.address);
    address_->setCursorPosition(0);
    loadWords();
}

void WebSearchSection::loadWords() {
    const std::vector<settings::SearchWord> words = settings::searchWords(defaults_);
    {
        const QSignalBlocker unchanged(words_);
        words_->setRowCount(0);
        words_->setRowCount(static_cast<int>(words.size()));
        for (int row = 0; row < words_->rowCount(); ++row) {
            const auto &[word, name, address] = words[static_cast<std::size_t>(row)];
            words_->setItem(row, WordColumn, new QTableWidgetItem(word));
            words_->setItem(row, NameColumn, new QTableWidgetItem(name));
            words_->setItem(row, AddressColumn, new QTableWidgetItem(address));
        }
    }
    showWordHint();
    enableRemoval();
}

void WebSearchSection::save() {
    settings::setWebSearch(defaults_, {name_->text().trimmed(), address_->text().trimmed()});
}

void WebSearchSection::storeWords() {
    std::vector<settings::SearchWord> words;
    for (int row = 0; row < words_->rowCount(); ++row) {
        settings::SearchWord word{textOf(row, WordColumn).toLower(), textOf(row, NameColumn),
                                  textOf(row, AddressColumn)};
        if (settings::isSearchWord(word.word) && settings::isSearchAddress(word.address))
            words.push_back(std::move(word));
    }
    settings::setSearchWords(defaults_, words);
    showWordHint();
}

void WebSearchSection::add() {
    const int row = words_->rowCount();
    {
        const QSignalBlocker unchanged(words_);
        words_->insertRow(row);
        for (const Column column : {WordColumn, NameColumn, AddressColumn})
            words_->setItem(row, column, new QTableWidgetItem);
        words_->item(row, AddressColumn)->setText(u"https://"_s);
    }
    showWordHint();
    words_->setCurrentCell(row, WordColumn);
    words_->setFocus();
    words_->editItem(words_->item(row, WordColumn));
}

void WebSearchSection::remove() {
    const int row = words_->currentRow();
    words_->removeRow(row);
    words_->setCurrentCell(std::min(row, words_->rowCount() - 1), WordColumn);
    storeWords();
    enableRemoval();
}

void WebSearchSection::restore() {
    settings::restoreSearchWords(defaults_);
    loadWords();
}

QString WebSearchSection::textOf(int row, int column) const {
    return words_->item(row, column)->text().trimmed();
}

void WebSearchSection::showEngineHint() {
    const bool isUsable = settings::isSearchAddress(address_->text().trimmed());
    setCaption(engineHint_, isUsable ? QString() : u"This takes "_s + needs + u"."_s);
    engineHint_->setVisible(!isUsable);
}

void WebSearchSection::showWordHint() {
    QString hint;
    QStringList seen;
    for (int row = 0; row < words_->rowCount() && hint.isEmpty(); ++row) {
        const QString word = textOf(row, WordColumn).toLower();
        if (!settings::isSearchWord(word))
            hint = u"Each row takes a word without blanks."_s;
        else if (!settings::isSearchAddress(textOf(row, AddressColumn)))
            hint = u"“%1” takes "_s.arg(word) + needs + u"."_s;
        else if (seen.contains(word))
            hint = u"“%1” is there twice; the lower one counts."_s.arg(word);
        seen.append(word);
    }
    setCaption(wordHint_, hint);
    wordHint_->setVisible(!hint.isEmpty());
}

void WebSearchSection::enableRemoval() {
    removeButton_->setEnabled(words_->currentRow() >= 0);
}

} // namespace corvid
