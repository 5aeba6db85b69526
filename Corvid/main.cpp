// The front of the program: reads the arguments, and hands to the Corvid that runs what is for it.
// The toolkit, which takes ten times as long to load, is left to the library behind it.

#include "Application.h"
#include "Front/CommandLine.h"
#include "Front/Inheritance.h"
#include "Front/InstanceCall.h"

#include <cstdio>
#include <filesystem>

#include <dlfcn.h>

namespace {

using namespace corvid;

/** Beside us in a build folder, in a folder of its own where we are installed. */
void *loadLibrary() {
    std::error_code error;
    const auto folder = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    for (const char *place : {"corvid.so", "../" CORVID_LIBRARY_FOLDER "/corvid.so"}) {
        const auto path = folder / place;
        if (std::filesystem::exists(path, error))
            return dlopen(path.c_str(), RTLD_LAZY);
    }
    return dlopen("corvid.so", RTLD_LAZY); // for its message
}

} // namespace

int main(int argc, char **argv) {
    const Inheritance inheritance = takeInheritance();
    const CommandLine commandLine = parseCommandLine({argv + 1, argv + argc});
    if (commandLine.error) {
        std::fprintf(stderr, "corvid: %s\nTry 'corvid --help'.\n", commandLine.error->c_str());
        return 2;
    }
    if (commandLine.text) {
        std::fputs(commandLine.text, stdout);
        return 0;
    }

    if (!makeRoomForFiles())
        return 1;

    bool busIsSilent = false;
    if (!commandLine.isDiagnostic() && !commandLine.restarted) {
        switch (callInstance(commandLine.wishesOfRunning())) {
        case CallResult::Taken:
            return 0;
        case CallResult::Unanswered:
            return reportUnanswered();
        case CallResult::BusSilent:
            busIsSilent = true;
            break;
        case CallResult::Nobody:
            break;
        }
    }

    void *const library = loadLibrary();
    void *const run = library ? dlsym(library, "runCorvid") : nullptr;
    if (!run) {
        std::fprintf(stderr, "corvid: %s\n", dlerror());
        return 1;
    }
    return reinterpret_cast<decltype(&runCorvid)>(run)({commandLine, inheritance, busIsSilent},
                                                       argv);
}
