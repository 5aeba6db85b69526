// The front of the program: reads the arguments, and hands to the Corvid that runs what is for it.
// The toolkit, which takes ten times as long to load, is left to the library behind it.

#include "Application.h"
#include "Front/CommandLine.h"
#include "Front/Inheritance.h"
#include "Front/InstanceCall.h"
#include "Platform/Linux/Icons/PictureProtocol.h"

#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <dlfcn.h>
#include <malloc.h>
#include <sched.h>
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

/** Reads the configuration of fonts on a thread of its own, a quarter of what the toolkit would
    have to do before it can paint anything. Gone when that is done. */
class FontsAhead {
public:
    FontsAhead() {
        // Here: a thread would wait until all of the toolkit's libraries are loaded.
        void *const library = dlopen("libfontconfig.so.1", RTLD_LAZY);
        // Without it the toolkit does not load either, and says so.
        if (void *const read = library ? dlsym(library, "FcInit") : nullptr)
            reading_ = std::thread([read, parentsProcessor = sched_getcpu()] {
                leave(parentsProcessor);
                reinterpret_cast<int (*)()>(read)();
            });
    }
    FontsAhead(const FontsAhead &) = delete;
    FontsAhead &operator=(const FontsAhead &) = delete;
    ~FontsAhead() {
        if (reading_.joinable())
            reading_.join();
    }

private:
    /** For another one, if there is any. A new thread may else share its parent's for longer than
        it takes, with the others idle. */
    static void leave(int processor) {
        cpu_set_t others;
        if (processor < 0 || sched_getaffinity(0, sizeof others, &others) != 0)
            return;
        CPU_CLR(static_cast<std::size_t>(processor), &others);
        sched_setaffinity(0, sizeof others, &others);
    }

    std::thread reading_;
};

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

    // With a heap for each thread, those of the scans would keep some 7 MB. The threads are too
    // short-lived to get in each other's way in one heap.
    mallopt(M_ARENA_MAX, 1);
    std::optional<FontsAhead> fonts(std::in_place);
    auto *const run = fromLibrary<decltype(runCorvid)>("runCorvid");
    fonts.reset(); // it looks into the environment, which is changed from now on
    return run ? run({commandLine, inheritance, busIsSilent}, argv) : 1;
}
