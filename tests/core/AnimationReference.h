#pragma once

// Independent reference values for the animation tests: a cubic Bezier sampled densely in the
// power basis (not the Bernstein routine under test), read back by interpolating between samples.

#include <algorithm>
#include <cstddef>
#include <vector>

namespace orvel::testref {

struct DenseCurve
{
    std::vector<double> xs; // non-decreasing for the clamped handles both evaluators use
    std::vector<double> ys;

    // y at x by linear interpolation between the two samples around x.
    double yAt(double x) const
    {
        const auto it = std::lower_bound(xs.begin(), xs.end(), x);
        if (it == xs.begin())
            return ys.front();
        if (it == xs.end())
            return ys.back();
        const std::size_t i = std::size_t(it - xs.begin());
        const double span = xs[i] - xs[i - 1];
        const double f = span > 0.0 ? (x - xs[i - 1]) / span : 1.0;
        return ys[i - 1] + f * (ys[i] - ys[i - 1]);
    }
};

inline double powerBasis(double p0, double p1, double p2, double p3, double u)
{
    const double c = 3.0 * (p1 - p0);
    const double b = 3.0 * (p2 - 2.0 * p1 + p0);
    const double a = p3 - 3.0 * p2 + 3.0 * p1 - p0;
    return ((a * u + b) * u + c) * u + p0;
}

inline DenseCurve sampleBezier(const double (&x)[4], const double (&y)[4], int samples = 200000)
{
    DenseCurve curve;
    curve.xs.reserve(std::size_t(samples) + 1);
    curve.ys.reserve(std::size_t(samples) + 1);
    for (int i = 0; i <= samples; ++i) {
        const double u = double(i) / samples;
        curve.xs.push_back(powerBasis(x[0], x[1], x[2], x[3], u));
        curve.ys.push_back(powerBasis(y[0], y[1], y[2], y[3], u));
    }
    return curve;
}

} // namespace orvel::testref
