#pragma once

#include <QPainterPath>
#include <QRectF>

namespace orvel {

// Figures shared by mask shapes and shape clips. Each is built inside `box` and closed.

// n vertices on the ellipse inscribed in `box`. Vertex i lies at 2 pi i / n plus
// (startAngleDegrees - 90) degrees, so a start angle of 0 puts the first vertex at the top.
// Fewer than 3 vertices, or a box with no area, gives an empty path.
QPainterPath regularPolygonPath(const QRectF &box, int vertexCount, double startAngleDegrees);

// A heart with its point at the bottom centre and its dip at the top centre, made of six
// cubic curves laid out in unit coordinates of `box`. Empty for a box with no area.
QPainterPath heartPath(const QRectF &box);

} // namespace orvel
