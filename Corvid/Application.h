#pragma once

namespace corvid {

struct CommandLine;
struct Inheritance;

/** What the front of the program has found out. */
struct Start {
    const CommandLine &commandLine;
    const Inheritance &inheritance;
    bool busIsSilent; ///< and so out of bounds for this process
};

} // namespace corvid

extern "C" {

/**
 * The program behind its front, in a library that is only loaded when there is more to do than to
 * call the Corvid that runs. Becomes the session's instance and runs until it is to end; or, where
 * another has become it meanwhile, hands the wishes over. Answers with the exit code.
 *
 * Where the bus is silent it runs without one. As soon as the bus answers and nothing is shown, the
 * process starts the program anew: libraries look for the bus only once.
 */
[[gnu::visibility("default")]] int runCorvid(const corvid::Start &start, char **argv);

/** Draws foreign pictures for a Corvid that runs, see runPictureHelper(). */
[[gnu::visibility("default")]] int drawPictures(bool withFonts);

/** Forgets what was learnt from use, which a Corvid that runs sees at its next look. Asks first, if
    wanted, which takes a terminal. Answers with the exit code: 0 where nothing is left. */
[[gnu::visibility("default")]] int forgetLearnt(bool ask);
}
