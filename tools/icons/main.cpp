// veskline-icons SVG NAME FOLDER: the pictures of an icon theme (hicolor), FOLDER/<size>x<size>/apps/NAME.png, from one
// drawing. Needs no display.

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>

#include <cstdio>
#include <cstdlib>

namespace {

constexpr int sizes[] = {16, 22, 24, 32, 48, 64, 96, 128, 256};

bool render(QSvgRenderer& drawing, int size, const QString& path) {
    QImage picture(size, size, QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    drawing.render(&painter);
    painter.end();
    return QDir().mkpath(QFileInfo(path).path()) && picture.save(path, "PNG", 0);
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const QStringList words = QCoreApplication::arguments();
    QSvgRenderer drawing;
    if (words.size() != 4 || !drawing.load(words[1])) {
        std::fputs("veskline-icons SVG NAME FOLDER: the SVG must be a drawing\n", stderr);
        return EXIT_FAILURE;
    }
    for (const int size : sizes) {
        const QString path = QStringLiteral("%1/%2x%2/apps/%3.png").arg(words[3]).arg(size).arg(words[2]);
        if (!render(drawing, size, path)) {
            std::fprintf(stderr, "%s can't be written\n", qUtf8Printable(path));
            return EXIT_FAILURE;
        }
    }
    return EXIT_SUCCESS;
}
