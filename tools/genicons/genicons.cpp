// Draws the program's icon, the tray's blue "K" badge, into a hicolor theme
// folder: a PNG at every usual size and a scalable SVG, all from one outline.
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QPainter>
#include <QPolygonF>

#include <cstdio>

namespace {

// The outline on a 256-unit square.
constexpr double Canvas = 256;
constexpr double Ring = 16; // margin and border width, a sixteenth as in the tray
const QColor Fill(0x1e, 0x6f, 0xd9);
const QColor Border = Fill.darker(140);
const QPolygonF Letter({{82, 62},
                        {116, 62},
                        {116, 118},
                        {162, 62},
                        {202, 62},
                        {144, 128},
                        {204, 194},
                        {162, 194},
                        {116, 142},
                        {116, 194},
                        {82, 194}});

QImage paint(int size)
{
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(size / Canvas, size / Canvas);
    painter.setPen(QPen(Border, Ring));
    painter.setBrush(Fill);
    painter.drawEllipse(QRectF(Ring, Ring, Canvas - 2 * Ring, Canvas - 2 * Ring));
    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::white);
    painter.drawPolygon(Letter);
    return image;
}

QByteArray svg()
{
    QStringList points;
    for (const QPointF &point : Letter)
        points << QStringLiteral("%1,%2").arg(point.x()).arg(point.y());
    return QStringLiteral(
               "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%1\" height=\"%1\" "
               "viewBox=\"0 0 %1 %1\">\n"
               "  <circle cx=\"%2\" cy=\"%2\" r=\"%3\" fill=\"%4\" stroke=\"%5\" stroke-width=\"%6\"/>\n"
               "  <polygon fill=\"#ffffff\" points=\"%7\"/>\n</svg>\n")
        .arg(Canvas)
        .arg(Canvas / 2)
        .arg(Canvas / 2 - Ring)
        .arg(Fill.name(), Border.name())
        .arg(Ring)
        .arg(points.join(QLatin1Char(' ')))
        .toUtf8();
}

bool write(const QString &path, const QByteArray &data)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(data) == data.size();
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: genicons THEME_FOLDER\n");
        return 2;
    }
    const QDir theme(QString::fromLocal8Bit(argv[1]));
    for (int size : {16, 22, 24, 32, 48, 64, 128, 256}) {
        const QString path = theme.filePath(QStringLiteral("%1x%1/apps/korvane-client.png").arg(size));
        if (!QDir().mkpath(QFileInfo(path).path()) || !paint(size).save(path, "PNG")) {
            std::fprintf(stderr, "genicons: cannot write %s\n", qPrintable(path));
            return 1;
        }
    }
    if (!write(theme.filePath(QStringLiteral("scalable/apps/korvane-client.svg")), svg())) {
        std::fprintf(stderr, "genicons: cannot write the SVG\n");
        return 1;
    }
    return 0;
}
