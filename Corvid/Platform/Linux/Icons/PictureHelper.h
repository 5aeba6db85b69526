#pragma once

namespace corvid {

/**
 * The process that draws foreign pictures: answers requests on its standard input, one after the
 * other, until that is closed. Returns its exit code.
 *
 * It can open no file and no socket, since it reads what strangers made. A picture that takes more
 * than a second of processor time, or too much memory, ends it; whoever asked starts another.
 */
int runPictureHelper(bool withFonts);

} // namespace corvid
