// Turns the art sources into the bitmaps of the resource bundle. Not part of the build: the
// outputs are committed. Build and run from res/ with
//   g++ -std=c++17 -fPIC art/rasterize.cpp -o /tmp/rasterize $(pkg-config --cflags --libs Qt5Gui Qt5Svg)
//   QT_QPA_PLATFORM=offscreen /tmp/rasterize
// then assemble the spinner with ImageMagick (frames are written to /tmp/corvel-loader/):
//   convert -dispose background -delay 6 -loop 0 /tmp/corvel-loader/*.png loader.gif

#include <QDir>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>

#include <cmath>
#include <cstdio>

namespace {

bool renderSvg(const QString& source, const QString& target, int height)
{
    QSvgRenderer renderer(source);
    if (!renderer.isValid()) {
        std::fprintf(stderr, "cannot read %s\n", qPrintable(source));
        return false;
    }
    const QSize natural = renderer.defaultSize();
    QImage image(qRound(natural.width() * double(height) / natural.height()), height, QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    renderer.render(&painter);
    painter.end();
    return image.save(target);
}

// A light track with an orange arc that runs round it; GIF keeps one bit of alpha, so the edge
// pixels are blended against the light page colour before the alpha is cut.
bool renderSpinner(const QString& folder, int size, int frames)
{
    QDir().mkpath(folder);
    const QColor page(0xFA, 0xFA, 0xFA);
    for (int frame = 0; frame < frames; ++frame) {
        QImage image(size, size, QImage::Format_ARGB32);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        const double pen = size / 8.0;
        const QRectF ring(pen, pen, size - 2 * pen, size - 2 * pen);
        painter.setPen(QPen(QColor(0xE1, 0xE1, 0xE1), pen));
        painter.drawEllipse(ring);
        QPen arc(QColor(0xFF, 0x6E, 0x21), pen);
        arc.setCapStyle(Qt::RoundCap);
        painter.setPen(arc);
        const int start = -frame * 360 * 16 / frames + 90 * 16;
        painter.drawArc(ring, start, -100 * 16);
        painter.end();
        for (int y = 0; y < size; ++y) {
            auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
            for (int x = 0; x < size; ++x) {
                const QColor c = QColor::fromRgba(line[x]);
                const double a = c.alphaF();
                if (a < 0.35) {
                    line[x] = qRgba(0, 0, 0, 0);
                    continue;
                }
                line[x] = qRgba(qRound(c.red() * a + page.red() * (1 - a)), qRound(c.green() * a + page.green() * (1 - a)),
                                qRound(c.blue() * a + page.blue() * (1 - a)), 255);
            }
        }
        if (!image.save(QString("%1/%2.png").arg(folder).arg(frame, 2, 10, QChar('0'))))
            return false;
    }
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    QGuiApplication app(argc, argv);
    bool ok = true;
    ok &= renderSvg("art/orbex-recover.svg", "orbex-recover.png", 24);
    ok &= renderSvg("art/orbex-recover.svg", "orbex-recover@2x.png", 48);
    ok &= renderSvg("art/velmora-logo.svg", "velmora-logo.png", 24);
    ok &= renderSvg("art/velmora-logo.svg", "velmora-logo@2x.png", 48);
    ok &= renderSpinner("/tmp/corvel-loader", 28, 12);
    return ok ? 0 : 1;
}
