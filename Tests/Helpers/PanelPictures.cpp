// Draws the panel's content in several states, each into a picture of its own:
//
//   corvid_panel_pictures <folder>
//
// On the offscreen platform, at the scale that QT_SCALE_FACTOR gives.

#include "Fakes/LauncherWorld.h"
#include "LauncherView.h"
#include "Panel/SearchField.h"
#include "Panel/Style.h"

#include <QApplication>
#include <QDir>
#include <QLinearGradient>
#include <QPainter>

#include <cstdio>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

constexpr QMargins surroundings(60, 60, 60, 60);

struct Icon {
    const char *application;
    const char16_t *letter;
    QRgb colour;
};
constexpr Icon icons[]{
    {"Cursor", u"C", 0xFF2B2B30},  {"Visual Studio Code", u"V", 0xFF2481CC},
    {"Zed", u"Z", 0xFF4C6FFF},     {"Neovim", u"N", 0xFF4B8B3B},
    {"Firefox", u"F", 0xFFE66000}, {"Terminal", u"T", 0xFF33363D},
    {"DBeaver", u"D", 0xFF7A5230}, {"Visual Paradigm", u"P", 0xFF8E44AD},
};

Image drawnIcon(const Icon &icon) {
    constexpr int size = 64;
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    QLinearGradient fill(0, 0, 0, size);
    fill.setColorAt(0, QColor(icon.colour).lighter(135));
    fill.setColorAt(1, QColor(icon.colour));
    painter.setBrush(fill);
    painter.setPen(Qt::NoPen);
    painter.drawRoundedRect(2, 2, size - 4, size - 4, 15, 15);
    QFont font = QApplication::font();
    font.setPixelSize(34);
    font.setWeight(QFont::DemiBold);
    painter.setFont(font);
    painter.setPen(Qt::white);
    painter.drawText(image.rect(), Qt::AlignCenter, QString::fromUtf16(icon.letter));
    return std::make_shared<const QImage>(image);
}

Image folderIcon() {
    constexpr int size = 64;
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0x3D, 0x8B, 0xFD));
    painter.drawRoundedRect(4, 10, 28, 20, 6, 6);
    QLinearGradient fill(0, 18, 0, 56);
    fill.setColorAt(0, QColor(0x7A, 0xB8, 0xFF));
    fill.setColorAt(1, QColor(0x4D, 0x97, 0xFD));
    painter.setBrush(fill);
    painter.drawRoundedRect(4, 17, 56, 39, 7, 7);
    return std::make_shared<const QImage>(image);
}

AppEntry application(const QString &name, const QStringList &roles, const QString &path) {
    return {name, u"id."_s + name, path, roles, {}, {}};
}

ProjectEntry project(const QString &path, const QStringList &stack) {
    return {path.section(u'/', -1), locations::home() + u'/' + path, stack};
}

const QString longName =
    u"A very long application name that goes on and on well beyond what any row can hold"_s;

std::vector<AppEntry> applications() {
    const QString shared = u"/usr/share/applications/"_s;
    const QStringList editor{u"code-editor"_s};
    return {application(u"Cursor"_s, editor, shared + u"cursor.desktop"_s),
            application(u"DBeaver"_s, {u"database-client"_s}, shared + u"dbeaver.desktop"_s),
            application(u"Firefox"_s, {u"browser"_s}, shared + u"firefox-esr.desktop"_s),
            application(u"Neovim"_s, editor, shared + u"nvim.desktop"_s),
            application(u"Terminal"_s, {u"terminal"_s}, shared + u"foot.desktop"_s),
            application(u"Visual Studio Code"_s, editor, shared + u"code.desktop"_s),
            application(u"Visual Paradigm"_s, {}, shared + u"visual-paradigm.desktop"_s),
            application(u"Zed"_s, editor, shared + u"dev.zed.Zed.desktop"_s),
            application(longName, {},
                        u"/opt/a/path/that/is/just/as/long/as/the/name/of/the/application/that/it/"
                        u"belongs/to/name.desktop"_s),
            application(u"ターミナル (terminal エミュレータ) 日本語の名前"_s, {},
                        shared + u"日本語.desktop"_s),
            application(u"محرر النصوص terminal"_s, {}, shared + u"arabic.desktop"_s),
            application(u"Ünïcödé ßtraße İstanbul terminal 👩🏽‍💻"_s, {},
                        shared + u"unicode.desktop"_s)};
}

std::vector<ProjectEntry> projects() {
    return {project(u"Code/acme/frontend"_s, {u"TypeScript"_s, u"React"_s, u"Docker"_s}),
            project(u"Code/frontend-kit"_s, {u"TypeScript"_s}),
            project(u"Developer/storefront"_s, {u"Ruby"_s}),
            project(u"Projects/front-desk-api"_s, {u"Go"_s, u"Docker"_s}),
            project(u"src/wavefront-solver"_s, {u"Rust"_s, u"C++"_s})};
}

struct Branch {
    const char16_t *project;
    const char16_t *name;
};
constexpr Branch branches[]{
    {u"Code/acme/frontend", u"main"},
    {u"Code/frontend-kit",
     u"feature/a-theme-for-every-desktop-that-anybody-has-ever-used-at-night"},
    {u"Developer/storefront", u"3f9c2d1"},
    {u"Projects/front-desk-api", u"fix/rate-limits"},
};

const QString answer =
    uR"(A **rebase** replays your commits on top of another base, a **merge** ties two histories together with a commit of its own. Rebase when:

- the branch is *yours alone*
- you want a straight history

```bash
git switch feature
git rebase main
```

After a rebase a push needs `--force-with-lease`, which refuses when somebody else has pushed in the meantime: see [the manual](https://git-scm.com/docs/git-push).

| | Rebase | Merge |
|---|:-:|:-:|
| straight history | yes | no |
| safe for others | no | yes |

日本語、العربية, ßtraße and 👩🏽‍💻 are text as any other.)"_s;

void paintWallpaper(QPainter &painter, const QRectF &area) {
    QLinearGradient gradient(area.topLeft(), area.bottomRight());
    gradient.setColorAt(0, QColor(0x27, 0x37, 0x4D));
    gradient.setColorAt(0.45, QColor(0x52, 0x6D, 0x82));
    gradient.setColorAt(0.75, QColor(0x9D, 0xB2, 0xBF));
    gradient.setColorAt(1, QColor(0xDD, 0xE6, 0xED));
    painter.fillRect(area, gradient);
}

bool take(LauncherView &view, const QString &file) {
    const qreal scale = view.devicePixelRatioF();
    const QSize size = view.size().grownBy(surroundings);
    QImage picture((QSizeF(size) * scale).toSize(), QImage::Format_ARGB32_Premultiplied);
    picture.setDevicePixelRatio(scale);
    QPainter painter(&picture);
    paintWallpaper(painter, QRectF(QPointF(), QSizeF(size)));
    QImage card((QSizeF(view.size()) * scale).toSize(), QImage::Format_ARGB32_Premultiplied);
    card.setDevicePixelRatio(scale);
    card.fill(Qt::transparent);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest); // texts have changed
    view.render(&card, {}, {}, QWidget::DrawChildren);
    painter.drawImage(QPointF(surroundings.left(), surroundings.top()), card);
    painter.end();
    return picture.save(file);
}

} // namespace

int main(int argc, char **argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    if (argc != 2) {
        std::fputs("usage: corvid_panel_pictures <folder>\n", stderr);
        return 2;
    }
    QDir folder(QString::fromLocal8Bit(argv[1]));
    if (!folder.mkpath(u"."_s))
        return 1;

    LauncherWorld world(applications(), projects());
    world.workspace.setGenericIcon(folderIcon());
    for (const Icon &icon : icons) {
        for (const AppEntry &app : world.catalog.apps()) {
            if (app.name == QLatin1StringView(icon.application))
                world.workspace.setIcon(app.path, drawnIcon(icon));
        }
    }
    LauncherView view(world.model);
    view.setAttribute(Qt::WA_TranslucentBackground);
    view.resize(style::panelWidth, style::panelHeight);
    view.show();
    SearchField::current()->setFocus();

    bool taken = true;
    const auto scene = [&](const QString &name, const QString &query) {
        world.model.reset();
        world.model.setQuery(query);
        // Icons come with the event loop, which must not run here: it would bring the scans of
        // this machine's folders too.
        for (const AppEntry &app : world.catalog.apps())
            world.model.updateIcon(app.path, world.workspace.icon(app.path));
        for (const auto &[project, branch] : branches)
            world.model.updateBranch(locations::home() + u'/' + QString::fromUtf16(project),
                                     QString::fromUtf16(branch));
        taken = taken && take(view, folder.filePath(name + u".png"_s));
    };
    world.workspace.running = {u"id.Cursor"_s, u"id.Firefox"_s};
    scene(u"projects"_s, u"front in cursor"_s);
    scene(u"results"_s, u"v"_s);
    scene(u"long-and-foreign-names"_s, u"ter"_s);
    scene(u"long-name"_s, u"a very long"_s);
    scene(u"calculator"_s, u"(1200 + 34) * 7.5"_s);
    scene(u"nothing-found"_s, u"qqqzzz"_s);
    const auto hotKeyIs = [&](HotKeyAnswer answer, Desktop desktop) {
        world.model.setHotKeyHelp(hotKeyHelp(u"Alt+Space"_s, answer, desktop));
    };
    hotKeyIs(HotKeyAnswer::Obtained, Desktop::Unknown);
    scene(u"nothing-launched-yet"_s, QString());
    hotKeyIs(HotKeyAnswer::NoPortal, Desktop::Sway);
    scene(u"no-hot-key-on-sway"_s, QString());
    hotKeyIs(HotKeyAnswer::Refused, Desktop::Openbox); // the longest line
    scene(u"no-hot-key-on-openbox"_s, QString());
    HotKeyHelp help = world.model.hotKeyHelp();
    help.free = HotKey{49, HotKey::command};
    help.freeName = u"Super+Space"_s;
    world.model.setHotKeyHelp(help);
    scene(u"hot-key-taken"_s, QString());
    scene(u"ask"_s, u"ai rebase or merge?"_s);

    world.model.setAiMode(true);
    world.model.setAiQuestion(u"rebase or merge?"_s);
    world.model.setAiBusy(true);
    taken = taken && take(view, folder.filePath(u"waiting-for-answer.png"_s));
    world.model.setAiResponse(answer);
    world.model.setAiBusy(false);
    taken = taken && take(view, folder.filePath(u"answer.png"_s));
    world.model.setQuery(u"f"_s);
    for (const AppEntry &app : world.catalog.apps())
        world.model.updateIcon(app.path, world.workspace.icon(app.path));
    taken = taken && take(view, folder.filePath(u"typed-over-answer.png"_s));
    world.model.setAiMode(false);

    view.setBehind(PanelSurface::Behind::Nothing);
    scene(u"no-compositor"_s, u"front in cursor"_s);
    return taken ? 0 : 1;
}
