#include "Platform/Linux/Launching/ProgramName.h"

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

struct Row {
    const char *exec;
    const char *program; ///< null for none
};

void PrintTo(const Row &row, std::ostream *out) {
    *out << row.exec;
}

class ProgramName : public testing::TestWithParam<Row> {};

} // namespace

TEST_P(ProgramName, isTheFileNameBehindTheWrappers) {
    EXPECT_EQ(programName(QString::fromUtf8(GetParam().exec)),
              QString::fromUtf8(GetParam().program));
}

INSTANTIATE_TEST_SUITE_P(Plain, ProgramName,
                         testing::Values(Row{"firefox", "firefox"}, Row{"firefox %u", "firefox"},
                                         Row{"/usr/bin/gnome-calculator", "gnome-calculator"},
                                         Row{"/usr/share/code/code --unity-launch %F", "code"},
                                         Row{"  spaced   --x ", "spaced"},
                                         Row{"%f editor", "editor"}, Row{"tool-100%%", "tool-100%"},
                                         Row{"LANG=C tool", "tool"}, Row{"prüfen", "prüfen"}));

INSTANTIATE_TEST_SUITE_P(Quoting, ProgramName,
                         testing::Values(Row{R"("/opt/My Tools/tool" %f)", "tool"},
                                         Row{R"("tool")", "tool"}, Row{R"('tool' x)", "tool"},
                                         Row{R"("/opt/a\"b/tool")", "tool"},
                                         Row{R"("/opt/back\\slash/tool")", "tool"},
                                         Row{R"(/opt/My\ Tools/run)", "run"},
                                         Row{R"("my tool")", "my tool"}, Row{R"("tool)", nullptr},
                                         Row{"it's", nullptr}));

INSTANTIATE_TEST_SUITE_P(NothingToRun, ProgramName,
                         testing::Values(Row{"", nullptr}, Row{"   ", nullptr}, Row{"%f", nullptr},
                                         Row{"A=b", nullptr}, Row{"/usr/bin/", nullptr},
                                         Row{"\"\"", nullptr}));

INSTANTIATE_TEST_SUITE_P(
    Wrappers, ProgramName,
    testing::Values(
        Row{"env tool", "tool"}, Row{"/usr/bin/env -i A=b B=\"c d\" tool %U", "tool"},
        Row{"env -u GTK_THEME --chdir=/tmp -C /x tool", "tool"}, Row{"env -- tool", "tool"},
        Row{"env BAMF_DESKTOP_FILE_HINT=/var/lib/snapd/desktop/applications/code_code.desktop "
            "/snap/bin/code --force-user-env %F",
            "code"},
        Row{"snap run code", "code"}, Row{"snap run --shell lxd.lxc %u", "lxd.lxc"},
        Row{"snap", "snap"},
        Row{"/usr/bin/flatpak run --branch=stable --arch=x86_64 --command=gimp-2.10 "
            "--file-forwarding org.gimp.GIMP @@u %U @@",
            "gimp-2.10"},
        Row{"flatpak run --command=/app/bin/run.sh org.example.App", "run.sh"},
        Row{"flatpak run org.example.App", nullptr}, Row{"pkexec synaptic", "synaptic"},
        Row{"pkexec --user root gparted", "gparted"}, Row{"sudo -u nobody A=b tool", "tool"},
        Row{"gksu -u root tool", "tool"}, Row{"wine /opt/Tool.exe", "Tool.exe"},
        Row{"env A=b pkexec sh -c \"exec /opt/x/tool\"", "tool"}));

INSTANTIATE_TEST_SUITE_P(Interpreters, ProgramName,
                         testing::Values(Row{"python3 /usr/share/foo/foo.py %f", "foo.py"},
                                         Row{"/usr/bin/python3 -m module", "module"},
                                         Row{"python3.11", "python3.11"},
                                         Row{"python3 -c \"import x\"", "python3"},
                                         Row{"perl -w script.pl", "script.pl"},
                                         Row{"java -Xmx1g -jar /opt/tool.jar", "tool.jar"},
                                         Row{"java -cp /opt/lib Main", "Main"}));

INSTANTIATE_TEST_SUITE_P(
    Shells, ProgramName,
    testing::Values(Row{"sh /opt/tool/run.sh", "run.sh"}, Row{"bash", "bash"},
                    Row{"sh -c tool", "tool"}, Row{"/bin/bash -lc \"tool --x\"", "tool"},
                    Row{"bash -l -c 'exec tool \"$@\"' bash %F", "tool"},
                    Row{"sh -c \"A=b C='d e' tool\"", "tool"},
                    Row{"sh -c \"cd /opt/tool && ./tool\"", nullptr},
                    Row{"sh -c \"tool | other\"", nullptr}, Row{"sh -c \"sh -c tool\"", "tool"},
                    Row{"sh -c \"\"", nullptr}, Row{"sh -c \"\\$TOOL\"", nullptr},
                    Row{"sh -c \"`which tool`\"", nullptr},
                    Row{"sh -c \"if true; then x; fi\"", nullptr}, Row{"sh -c \"it's\"", nullptr}));

TEST(ProgramNameLimits, longAndNestedLinesAreReadInOneGo) {
    EXPECT_EQ(programName(u"env "_s.repeated(20'000) + u"tool"_s), u"tool"_s);
    EXPECT_EQ(programName(u"sh -c "_s.repeated(2'000) + u"tool"_s), u"sh"_s)
        << "the line of the first shell is the word sh alone";
}
