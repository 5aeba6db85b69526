#pragma once

#include "Settings/FormWidgets.h"

class QPushButton;

namespace corvid {

class UsageStats;

/** The settings' section of what was learnt from use: how much it is, and a button that forgets it,
    which asks once, in its own place. Main thread only. */
class LearntSection final : public FormSection {
    Q_OBJECT

public:
    /** The tables outlive the section. */
    explicit LearntSection(UsageStats &stats);

    /** Shows how much there is, and asks nothing any more. */
    void load();

private:
    enum class Asking { No, Yes };
    void showAmount(Asking asking);

    UsageStats &stats_;
    QLabel *amount_;
    QPushButton *ask_;
    QPushButton *forget_;
    QPushButton *keep_;
};

} // namespace corvid
