#pragma once

#include "Base/HotKeyHelp.h"

#include <QTimer>
#include <QWidget>

#include <optional>

class QLabel;

namespace corvid {

/** What somebody who has launched nothing yet can type, and which key brings the panel back; or
    what is to be done where none does. Stands below "No matches" and lets clicks through. Main
    thread only. */
class FirstLines final : public QWidget {
    Q_OBJECT

public:
    explicit FirstLines(QWidget *parent = nullptr);

    /** `whyNoProjects`: where projects were looked for; absent while there are any. */
    void say(const HotKeyHelp &hotKey, const std::optional<QString> &whyNoProjects);
    /** Says for a moment that the line for the compositor was copied. */
    void confirmCopy();
    /** Takes over changed colours and fonts. */
    void applyStyle();

private:
    QLabel *addLabel();

    QLabel *typing_;
    QLabel *projects_;
    QLabel *asking_;
    QLabel *hotKey_;
    QLabel *line_;
    QLabel *copying_;
    QTimer copiedFor_;
};

} // namespace corvid
