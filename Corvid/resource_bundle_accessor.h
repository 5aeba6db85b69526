#pragma once

#include <QString>

namespace corvid {

/**
 * The folder of the resources shipped with the program, "Corvid_Corvid.bundle": beside the
 * installed data (<folder of the executable>/../share/corvid), else the build tree's. Any thread.
 * Where there is none, the program was packaged wrongly: it stops and says so.
 */
QString resourceBundle();

/** The first of two folders that is there and can be entered; stops the program when neither is. */
QString chooseResourceBundle(const QString &installed, const QString &buildTree);

} // namespace corvid
