#pragma once

namespace corvid {
struct CommandLine;
}

extern "C" {

/**
 * The program behind its front, in a library that is only loaded when there is more to do than to
 * call the Corvid that runs. Becomes the session's instance and runs until it is to end; or, where
 * another has become it meanwhile, hands the wishes over. Answers with the exit code.
 */
[[gnu::visibility("default")]] int runCorvid(const corvid::CommandLine &commandLine, char **argv);

/** Draws foreign pictures for a Corvid that runs, see runPictureHelper(). */
[[gnu::visibility("default")]] int drawPictures(bool withFonts);
}
