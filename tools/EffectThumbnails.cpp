// Renders a fixed test picture through every effect package under one directory and writes
// each package's thumbnail.png; converts each package's .cube LUT into the strip picture its
// shader samples. Usage: orvel-effect-thumbnails <packages/effects>
#include "catalog/EffectCatalog.h"
#include "render/effects/GpuEffectExecutor.h"
#include "render/effects/TimeEcho.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QPainter>
#include <QPainterPath>
#include <QRadialGradient>
#include <QTextStream>

#include <cstdio>

namespace {

constexpr int kThumbWidth = 160;
constexpr int kThumbHeight = 90;

// A landscape with sky, sun, hills and saturated blocks: every effect has edges, highlights,
// shadows and colour to act on.
QImage testPicture(int width, int height, double shift = 0.0)
{
    QImage image(width, height, QImage::Format_RGBA8888);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    QLinearGradient sky(0, 0, 0, height);
    sky.setColorAt(0.0, QColor(40, 90, 200));
    sky.setColorAt(0.6, QColor(250, 190, 120));
    painter.fillRect(image.rect(), sky);
    QRadialGradient sun(width * (0.7 - shift), height * 0.35, height * 0.18);
    sun.setColorAt(0.0, QColor(255, 255, 230));
    sun.setColorAt(0.7, QColor(255, 230, 140));
    sun.setColorAt(1.0, QColor(255, 200, 120, 0));
    painter.fillRect(image.rect(), sun);
    QPainterPath hills;
    hills.moveTo(0, height * 0.7);
    hills.cubicTo(width * 0.3, height * 0.5, width * 0.6, height * 0.85, width, height * 0.62);
    hills.lineTo(width, height);
    hills.lineTo(0, height);
    painter.fillPath(hills, QColor(30, 110, 60));
    const QColor blocks[] = {QColor(220, 40, 40), QColor(240, 220, 40), QColor(40, 200, 220), Qt::white,
                             Qt::black};
    for (int i = 0; i < 5; ++i)
        painter.fillRect(QRectF(width * (0.08 + 0.1 * i + shift), height * 0.78, width * 0.07, height * 0.12),
                         blocks[i]);
    return image;
}

// film.cube -> film.png: N slices of N x N side by side, blue choosing the slice, stored bottom
// row first because package textures are flipped on upload.
bool convertCube(const QString &cubePath, QString *error)
{
    QFile file(cubePath);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        *error = QStringLiteral("cannot open %1").arg(cubePath);
        return false;
    }
    int size = 0;
    QList<QColor> entries;
    QTextStream in(&file);
    while (!in.atEnd()) {
        const QStringList fields = in.readLine().simplified().split(' ', Qt::SkipEmptyParts);
        if (fields.size() == 2 && fields[0] == QLatin1String("LUT_3D_SIZE"))
            size = fields[1].toInt();
        bool ok = fields.size() == 3;
        const double r = ok ? fields[0].toDouble(&ok) : 0.0;
        const double g = ok ? fields[1].toDouble(&ok) : 0.0;
        const double b = ok ? fields[2].toDouble(&ok) : 0.0;
        if (ok)
            entries.append(QColor::fromRgbF(float(r), float(g), float(b)));
    }
    if (size < 2 || entries.size() != size * size * size) {
        *error = QStringLiteral("bad LUT in %1").arg(cubePath);
        return false;
    }
    QImage strip(size * size, size, QImage::Format_RGBA8888);
    for (int b = 0; b < size; ++b)
        for (int g = 0; g < size; ++g)
            for (int r = 0; r < size; ++r)
                strip.setPixelColor(b * size + r, size - 1 - g, entries[(b * size + g) * size + r]);
    const QString target = cubePath.left(cubePath.size() - 5) + QStringLiteral(".png");
    if (!strip.save(target)) {
        *error = QStringLiteral("cannot write %1").arg(target);
        return false;
    }
    return true;
}

QImage renderThumbnail(const orvel::EffectDescriptor &descriptor)
{
    const QImage picture = testPicture(640, 360);
    QImage result;
    if (descriptor.id == QLatin1String("time_echo")) {
        // Two frames a step apart in screen mode: opaque frames would hide each other in
        // normal mode, and more than two wash the picture out.
        result = orvel::blendEchoFrames({testPicture(640, 360), testPicture(640, 360, 0.1)}, 0.6, 2);
    } else if (descriptor.isGpu) {
        orvel::EffectInstance instance;
        const QVariantMap params = orvel::EffectCatalog::mergedParams(instance, descriptor);
        // Half a second in, so time-driven effects show some motion.
        result = orvel::GpuEffectExecutor::instance().applyChain(
            picture, {{descriptor.id, &descriptor.pipeline, params}}, 500'000);
    }
    if (result.isNull())
        return {};
    return result.scaled(kThumbWidth, kThumbHeight, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QGuiApplication app(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: orvel-effect-thumbnails <effects directory>\n");
        return 2;
    }
    const QDir root(QString::fromLocal8Bit(argv[1]));
    for (const QString &name : root.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name)) {
        const QDir package(root.filePath(name));
        for (const QString &cube : package.entryList({QStringLiteral("*.cube")}, QDir::Files)) {
            QString error;
            if (!convertCube(package.filePath(cube), &error)) {
                std::fprintf(stderr, "%s\n", qPrintable(error));
                return 1;
            }
        }
    }
    orvel::EffectCatalog::instance().reload({root.absolutePath()});
    int failures = 0;
    for (const orvel::EffectDescriptor &descriptor : orvel::EffectCatalog::instance().all()) {
        const QImage thumbnail = renderThumbnail(descriptor);
        const QString target = root.filePath(descriptor.id + QStringLiteral("/thumbnail.png"));
        if (thumbnail.isNull() || !thumbnail.save(target)) {
            std::fprintf(stderr, "no thumbnail for %s\n", qPrintable(descriptor.id));
            ++failures;
        }
    }
    return failures == 0 ? 0 : 1;
}
