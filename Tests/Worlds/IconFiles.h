#pragma once

#include "Platform/Linux/Icons/IconLoader.h"

#include <QColor>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace corvid::test {

inline const QColor red(255, 0, 0);
inline const QColor blue(0, 0, 255);
inline const QColor nothing(0, 0, 0, 0);

inline QColor middle(const Image &image) {
    return image->pixelColor(image->width() / 2, image->height() / 2);
}

inline QByteArray svg(const QByteArray &content) {
    return "<svg xmlns=\"http://www.w3.org/2000/svg\" xmlns:xlink=\"http://www.w3.org/1999/xlink\" "
           "viewBox=\"0 0 32 32\">" +
           content + "</svg>";
}

/** A folder of icons and entries that name them, an icon theme "t" of 32 pixels in it, and a cache
    of its own. What draws is the real program, whose starts are recorded. */
class IconFiles : public ::testing::Test {
protected:
    IconFiles() {
        qputenv("XDG_CACHE_HOME", QFile::encodeName(path(QStringLiteral("cache"))));
        file(QStringLiteral("themes/t/index.theme"),
             "[Icon Theme]\nDirectories=32\n[32]\nSize=32\nType=Fixed\n");
        script(QStringLiteral("drawer"), "exec " CORVID_BUILD_FOLDER "/corvid \"$@\"\n");
    }
    ~IconFiles() override { qunsetenv("XDG_CACHE_HOME"); }

    QString path(const QString &name) const { return root_.path() + u'/' + name; }

    void file(const QString &name, const QByteArray &content) const {
        QDir().mkpath(QFileInfo(path(name)).path());
        QFile out(path(name));
        ASSERT_TRUE(out.open(QIODevice::WriteOnly));
        out.write(content);
    }
    void png(const QString &name, QSize size, QColor color) const {
        QDir().mkpath(QFileInfo(path(name)).path());
        QImage image(size, QImage::Format_RGB32);
        image.fill(color);
        ASSERT_TRUE(image.save(path(name), "PNG"));
    }
    /** A program that notes its process's number in "starts", then does what the text says. */
    void script(const QString &name, const QByteArray &text) const {
        file(name, "#!/bin/sh\necho $$ >>'" + QFile::encodeName(path(QStringLiteral("starts"))) +
                       "'\n" + text);
        ASSERT_TRUE(QFile::setPermissions(path(name), QFile::ReadOwner | QFile::ExeOwner));
    }
    /** The processes that were started to draw, in their order. */
    QList<QByteArray> starts() const {
        QFile file(path(QStringLiteral("starts")));
        if (!file.open(QIODevice::ReadOnly))
            return {};
        QList<QByteArray> numbers = file.readAll().split('\n');
        numbers.removeAll(QByteArray());
        return numbers;
    }

    QString entry(const QString &icon) const {
        file(QStringLiteral("app.desktop"),
             "[Desktop Entry]\nType=Application\nName=x\nExec=x\nIcon=" + icon.toUtf8() + '\n');
        return path(QStringLiteral("app.desktop"));
    }

    IconLoader loader(qreal devicePixelRatio = 1,
                      const QString &drawer = QStringLiteral("drawer")) const {
        return {[] { return QStringLiteral("t"); },
                {{path(QStringLiteral("themes"))}, {path(QStringLiteral("pixmaps"))}},
                devicePixelRatio,
                path(drawer)};
    }

    QTemporaryDir root_;
};

} // namespace corvid::test
