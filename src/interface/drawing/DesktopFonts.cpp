#include "interface/drawing/DesktopFonts.h"

#include <QFontDatabase>
#include <QTextLayout>

#include <cmath>

namespace veskline {

namespace {

QString installedFamily(const QString& wanted, QFontDatabase::SystemFont substitute) {
    return QFontDatabase::hasFamily(wanted) ? wanted : QFontDatabase::systemFont(substitute).family();
}

bool fits(const QString& text, const QFont& font, double width, int lines) {
    QTextOption wrapping;
    wrapping.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    QTextLayout layout(text, font);
    layout.setTextOption(wrapping);
    layout.beginLayout();
    int count = 0;
    for (QTextLine line = layout.createLine(); line.isValid() && count <= lines; line = layout.createLine()) {
        line.setLineWidth(width);
        ++count;
    }
    layout.endLayout();
    return count <= lines;
}

} // namespace

DesktopFonts::DesktopFonts(QObject* parent)
    : QObject(parent), sans_(installedFamily(QStringLiteral("Inter"), QFontDatabase::GeneralFont)),
      mono_(installedFamily(QStringLiteral("JetBrains Mono"), QFontDatabase::FixedFont)) {}

int DesktopFonts::fittingPixelSize(const QString& text, const QFont& font, double width, int lines, double leastShare) {
    const int whole = font.pixelSize();
    const int least = static_cast<int>(std::ceil(whole * leastShare));
    for (int size = whole; size > least; --size) {
        QFont tried = font;
        tried.setPixelSize(size);
        tried.setLetterSpacing(QFont::AbsoluteSpacing, font.letterSpacing() * size / whole);
        if (fits(text, tried, width, lines)) {
            return size;
        }
    }
    return least;
}

} // namespace veskline
