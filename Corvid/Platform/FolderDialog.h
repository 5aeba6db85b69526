#pragma once

#include "Platform/Port.h"

#include <QStringList>

#include <functional>
#include <optional>

class QWindow;

namespace corvid {

/** The desktop's own dialog for choosing folders. Main thread only. */
class FolderDialog : public Port {
public:
    /** The paths of the folders, in the dialog's order; none when the user cancels. Absent where
        this desktop has no such dialog. */
    using Done = std::function<void(const std::optional<QStringList> &)>;

    /** Lets the user choose any number of existing folders, modal to the window, with the given
        word on the button. Returns at once; `done` is called once, from the event loop, unless the
        dialog object is destroyed before. One choice at a time: another call takes the place of
        one that is not done, which is then never. */
    virtual void choose(const QWindow &window, const QString &prompt, Done done) = 0;
};

} // namespace corvid
