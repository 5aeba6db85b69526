#pragma once

#include "Settings/FormWidgets.h"

class QLineEdit;
class QPushButton;
class QTableWidget;

namespace corvid {

class UserDefaults;

/** The settings' section of the web search and of the words that search other sites, in a table
    whose cells are edited in place. A change to a word is stored at once, as soon as it can be
    searched by; until then a line says what it lacks. The web search is stored by save(). Main
    thread only. */
class WebSearchSection final : public FormSection {
    Q_OBJECT

public:
    /** The defaults outlive the section. */
    explicit WebSearchSection(UserDefaults &defaults);

    /** Shows what is stored. */
    void load();
    /** Stores the web search as entered; without a usable address it is the usual one again. */
    void save();

private:
    QWidget *makeEngineFields();
    void makeTable();
    void loadWords();
    void storeWords();
    void add();
    void remove();
    void restore();
    QString textOf(int row, int column) const;
    void showEngineHint();
    void showWordHint();
    void enableRemoval();

    UserDefaults &defaults_;
    QLineEdit *name_ = nullptr;
    QLineEdit *address_ = nullptr;
    QLabel *engineHint_ = nullptr;
    QTableWidget *words_ = nullptr;
    QLabel *wordHint_ = nullptr;
    QPushButton *addButton_ = nullptr;
    QPushButton *removeButton_ = nullptr;
};

} // namespace corvid
