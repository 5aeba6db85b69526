#pragma once

#include "Platform/Instance.h"

#include <optional>
#include <string>
#include <vector>

namespace corvid {

/** What the program gives to itself when it starts anew; not for people, so no help tells of it. */
inline constexpr const char *restartedOption = "--restarted";

/** What the program was started for. */
struct CommandLine {
    bool show = false;
    bool toggle = false;
    bool settings = false;
    bool sticky = false;
    /** By itself, to take up a bus that did not answer before. Nobody asked for anything. */
    bool restarted = false;
    bool bench = false;
    bool forget = false;              ///< everything that was learnt, and no more than that
    bool yes = false;                 ///< the same without asking
    std::optional<std::string> query; ///< also when it is empty; absent where no text follows
    const char *text = nullptr;       ///< printed instead of anything else; whole lines, or null
    std::optional<std::string> error; ///< one line; what was understood before it does not count

    /** A process of its own that answers on standard error, beside the one that people use. */
    bool isDiagnostic() const { return bench || query; }

    /** What a Corvid that starts does for them, in order. Without one it stays hidden. */
    std::vector<Wish> wishes() const;
    /** What a Corvid that runs already does instead: the same, and without one it shows itself, as
        anybody expects who clicks on a program's icon; nothing if nobody did. */
    std::vector<Wish> wishesOfRunning() const;
};

/**
 * Reads the arguments without the program's own name. Options are whole arguments, in any order;
 * what follows "--query" is its text, whatever it looks like, and the first such text counts. The
 * first help, version or unknown argument ends the reading.
 *
 * The toolkit's own options are unknown, too: it would take them out of a query's text, and needs a
 * display to do so. Its environment variables do the same.
 */
CommandLine parseCommandLine(const std::vector<std::string> &arguments);

/** Says on standard error that another Corvid runs and does not answer; that is the exit code. */
int reportUnanswered();

} // namespace corvid
