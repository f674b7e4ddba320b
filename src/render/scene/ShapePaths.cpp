#include "render/scene/ShapePaths.h"

#include <QtMath>

namespace orvel {

namespace {

bool shapeBoxHasArea(const QRectF &box)
{
    return box.width() > 0.0 && box.height() > 0.0;
}

QPointF shapeBoxPoint(const QRectF &box, double x, double y)
{
    return {box.left() + x * box.width(), box.top() + y * box.height()};
}

} // namespace

QPainterPath regularPolygonPath(const QRectF &box, int vertexCount, double startAngleDegrees)
{
    QPainterPath path;
    if (vertexCount < 3 || !shapeBoxHasArea(box))
        return path;
    const QPointF centre = box.center();
    const double startRadians = qDegreesToRadians(startAngleDegrees - 90.0);
    for (int i = 0; i < vertexCount; ++i) {
        const double angle = 2.0 * M_PI * i / vertexCount + startRadians;
        const QPointF vertex(centre.x() + std::cos(angle) * box.width() / 2.0,
                             centre.y() + std::sin(angle) * box.height() / 2.0);
        if (i == 0)
            path.moveTo(vertex);
        else
            path.lineTo(vertex);
    }
    path.closeSubpath();
    return path;
}

QPainterPath heartPath(const QRectF &box)
{
    QPainterPath path;
    if (!shapeBoxHasArea(box))
        return path;
    // Control 1, control 2 and end point of each curve, from the bottom tip round the left
    // lobe, into the dip, round the right lobe and back to the tip.
    static constexpr double kCurves[6][6] = {
        {0.42, 0.86, 0.0, 0.58, 0.0, 0.31}, {0.0, 0.11, 0.18, 0.0, 0.32, 0.0},
        {0.42, 0.0, 0.5, 0.09, 0.5, 0.18},  {0.5, 0.09, 0.58, 0.0, 0.68, 0.0},
        {0.82, 0.0, 1.0, 0.11, 1.0, 0.31},  {1.0, 0.58, 0.58, 0.86, 0.5, 1.0},
    };
    path.moveTo(shapeBoxPoint(box, 0.5, 1.0));
    for (const auto &c : kCurves)
        path.cubicTo(shapeBoxPoint(box, c[0], c[1]), shapeBoxPoint(box, c[2], c[3]),
                     shapeBoxPoint(box, c[4], c[5]));
    path.closeSubpath();
    return path;
}

} // namespace orvel
