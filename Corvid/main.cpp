// The front of the program: reads the arguments, and hands to the Corvid that runs what is for it.
// The toolkit, which takes ten times as long to load, is left to the library behind it.

#include "Application.h"
#include "Front/CommandLine.h"
#include "Front/Inheritance.h"
#include "Front/InstanceCall.h"
#include "Platform/Linux/Icons/PictureProtocol.h"

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

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

/** Null, and a message, where it cannot be had. */
template <typename Function>
Function *fromLibrary(const char *name) {
    void *const library = loadLibrary();
    void *const function = library ? dlsym(library, name) : nullptr;
    if (!function)
        std::fprintf(stderr, "corvid: %s\n", dlerror());
    return reinterpret_cast<Function *>(function);
}

/** Whether another Corvid started us to draw pictures; a person who asks for that is told that
    there is no such option. */
bool isToDrawPictures(const std::vector<std::string> &arguments) {
    struct stat input = {};
    return !arguments.empty() && arguments[0] == drawPicturesOption &&
           fstat(STDIN_FILENO, &input) == 0 && S_ISSOCK(input.st_mode);
}

} // namespace

int main(int argc, char **argv) {
    const Inheritance inheritance = takeInheritance();
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (isToDrawPictures(arguments)) {
        auto *const draw = fromLibrary<decltype(drawPictures)>("drawPictures");
        return draw ? draw(arguments.back() == withFontsOption) : 1;
    }
    const CommandLine commandLine = parseCommandLine(arguments);
    if (commandLine.error) {
        std::fprintf(stderr, "corvid: %s\nTry 'corvid --help'.\n", commandLine.error->c_str());
        return 2;
    }
    if (commandLine.text) {
        std::fputs(commandLine.text, stdout);
        return 0;
    }

    if (commandLine.forget) {
        auto *const forget = fromLibrary<decltype(forgetLearnt)>("forgetLearnt");
        return forget ? forget(!commandLine.yes) : 1;
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

    auto *const run = fromLibrary<decltype(runCorvid)>("runCorvid");
    return run ? run({commandLine, inheritance, busIsSilent}, argv) : 1;
}
