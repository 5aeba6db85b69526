#include "Panel/FirstLines.h"

#include "Panel/Style.h"
#include "Settings/FormWidgets.h"

#include <QBoxLayout>
#include <QFontDatabase>
#include <QLabel>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int lineFontSize = 13;
constexpr int codeFontSize = 12;
constexpr int lineGap = 7;
constexpr int sideMargin = 28;

void sayIn(QLabel *label, const QString &text) {
    label->setText(brokenAtBlanks(text));
    label->setAccessibleName(text);
    label->setVisible(!text.isEmpty());
}

QString aboutHotKey(const HotKeyHelp &help) {
    if (help.works())
        return u"%1 brings this panel back."_s.arg(help.name);
    if (help.why.isEmpty())
        return {};
    if (help.free)
        return help.why + u" Return takes %1 instead."_s.arg(help.freeName);
    return help.why + u'\n' + help.remedy;
}

} // namespace

FirstLines::FirstLines(QWidget *parent) : QWidget(parent) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    auto *lines = new QVBoxLayout(this);
    lines->setContentsMargins(sideMargin, style::listInset + style::rowHeight, sideMargin, 0);
    lines->setSpacing(lineGap);
    typing_ = addLabel();
    projects_ = addLabel();
    asking_ = addLabel();
    hotKey_ = addLabel();
    line_ = addLabel();
    copying_ = addLabel();
    lines->addStretch();
    asking_->setText(u"Type “ai …” to ask a model of your choice."_s);
    copiedFor_.setSingleShot(true);
    copiedFor_.setInterval(style::copiedFor);
    const auto offerCopy = [this] { copying_->setText(u"Ctrl+C copies it."_s); };
    connect(&copiedFor_, &QTimer::timeout, this, offerCopy);
    offerCopy();
    applyStyle();
}

QLabel *FirstLines::addLabel() {
    auto *label = new QLabel;
    label->setTextFormat(Qt::PlainText);
    label->setAlignment(Qt::AlignCenter);
    label->setWordWrap(true);
    layout()->addWidget(label);
    return label;
}

void FirstLines::say(const HotKeyHelp &hotKey, const std::optional<QString> &whyNoProjects) {
    typing_->setText(whyNoProjects ? u"Type a few letters of an application."_s
                                   : u"Type a few letters of an application, or of a project."_s);
    sayIn(projects_, whyNoProjects ? *whyNoProjects + u" Ctrl+, adds a folder."_s : QString());
    sayIn(hotKey_, aboutHotKey(hotKey));
    sayIn(line_, hotKey.free ? QString() : hotKey.line);
    copying_->setVisible(!line_->text().isEmpty());
    layout()->activate(); // or what is painted next would have the old places
}

void FirstLines::confirmCopy() {
    copying_->setText(u"Copied."_s);
    copiedFor_.start();
}

void FirstLines::applyStyle() {
    QPalette colours = palette();
    colours.setColor(QPalette::WindowText, style::secondary());
    setPalette(colours);
    setFont(style::sized(style::font(), lineFontSize));
    QFont fixed = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    fixed.setPixelSize(codeFontSize);
    line_->setFont(fixed);
}

} // namespace corvid
