// Splits and trims of clips with a speed curve, against an independent reference of the curve's
// time mapping: the picture a user sees at each timeline instant must not change, except where
// an edge moves.
#include "SpeedCurveFixtures.h"

#include "core/document/editing/ClipEditing.h"
#include "core/document/timing/ClipTiming.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <vector>

using namespace orvel;
using namespace orvel::curvefixture;

namespace {

// The speed of a curve is its table, straight within each cell. The time to reach a position is
// the integral of 1 / speed, summed here cell by cell from the exact antiderivative of 1 / (a + b p);
// the position at a time is found by bisection on that sum, not by the code's closed-form inverse.
class CurveReference
{
public:
    explicit CurveReference(const SpeedCurve &curve)
        : m_speeds(curve.speedTable.cbegin(), curve.speedTable.cend())
    {
        m_times.push_back(0.0);
        for (int i = 0; i < kSpeedTableCells; ++i)
            m_times.push_back(m_times.back() + cellTime(i, 1.0));
    }

    // Integral of 1 / speed from 0 to p, p in 0..1.
    double timeAt(double p) const
    {
        const double x = std::clamp(p, 0.0, 1.0) * kSpeedTableCells;
        const int i = std::min(int(x), kSpeedTableCells - 1);
        return m_times[i] + cellTime(i, x - i);
    }

    double positionAt(double t) const
    {
        double lo = 0.0;
        double hi = 1.0;
        for (int round = 0; round < 60; ++round) {
            const double mid = 0.5 * (lo + hi);
            (timeAt(mid) < t ? lo : hi) = mid;
        }
        return 0.5 * (lo + hi);
    }

private:
    // Time across the first fraction f of cell i.
    double cellTime(int i, double f) const
    {
        const double h = f / kSpeedTableCells;
        const double s0 = m_speeds[i];
        const double slope = (m_speeds[i + 1] - s0) * kSpeedTableCells;
        if (std::abs(slope * h) < 1e-12 * s0)
            return h / s0;
        return std::log1p(slope * h / s0) / slope;
    }

    std::vector<double> m_speeds;
    std::vector<double> m_times;
};

// A clip of a 30 s file playing sourceSpanUs from 2 s in, with the curve, at 10 s on the timeline.
Clip curvedClip(const SpeedCurve &curve, TimeUs sourceSpanUs, bool reverse = false)
{
    Clip clip;
    clip.id = QStringLiteral("c");
    clip.type = ClipType::video;
    clip.assetId = QStringLiteral("asset");
    clip.timelineStartUs = 10000000;
    clip.srcInUs = 2000000;
    clip.srcOutUs = 2000000 + sourceSpanUs;
    clip.reverse = reverse;
    clip.speedCurve = curve;
    clip.timelineDurationUs = retimedDuration(curve, sourceSpanUs);
    return clip;
}

Project projectWithFile()
{
    Project project;
    Asset asset;
    asset.id = QStringLiteral("asset");
    asset.kind = AssetKind::video;
    asset.durationUs = 30000000;
    project.insertAsset(asset);
    return project;
}

// Source time the unedited clip shows at a clip-local time, by the reference.
double referenceSourceUs(const Clip &original, const CurveReference &reference, double localUs)
{
    const double span = double(clipSourceSpanUs(original));
    const double offset = span * reference.positionAt(localUs / span);
    return original.reverse ? double(original.srcOutUs) - offset : double(original.srcInUs) + offset;
}

// The 0.5 to 4 ramp: speed 0.5 + 3.5 p, so over a source span D the time to position p is
// D ln(1 + 7 p) / 3.5 and the position at time t is (exp(3.5 t / D) - 1) / 7.
SpeedCurve rampCurve()
{
    return normaliseSpeedCurve({point(0, 0.5), point(1, 4.0)});
}
double rampPosition(double localUs, double spanUs)
{
    return (std::exp(3.5 * localUs / spanUs) - 1.0) / 7.0;
}

} // namespace

TEST(CurvedSplit, EveryInstantKeepsItsSourceTimeOver200Curves)
{
    std::mt19937 rng(24);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    double worstSourceUs = 0.0;
    double worstHalfUs = 0.0;
    TimeUs worstSumUs = 0;
    for (int round = 0; round < 200; ++round) {
        const SpeedCurve curve = randomCurve(rng);
        const CurveReference reference(curve);
        const TimeUs spanUs = TimeUs(2000000 + unit(rng) * 25000000);
        const Clip clip = curvedClip(curve, spanUs, round % 2 == 1);
        const TimeUs durationUs = clip.timelineDurationUs;
        const TimeUs offsetUs = TimeUs(100000 + unit(rng) * double(durationUs - 200000));
        Clip left;
        Clip right;
        ASSERT_TRUE(splitClipCore(clip, offsetUs, left, right)) << round;

        worstSumUs =
            std::max(worstSumUs, std::abs(left.timelineDurationUs + right.timelineDurationUs - durationUs));
        // Each half lasts as long as its part of the curve takes to play: no frozen tail.
        const double splitPosition =
            double(clip.reverse ? clip.srcOutUs - left.srcInUs : left.srcOutUs - clip.srcInUs) /
            double(spanUs);
        const double leftReferenceUs = double(spanUs) * reference.timeAt(splitPosition);
        const double rightReferenceUs =
            double(spanUs) * (reference.timeAt(1.0) - reference.timeAt(splitPosition));
        for (const auto &[half, expectedUs] :
             {std::pair{&left, leftReferenceUs}, std::pair{&right, rightReferenceUs}}) {
            worstHalfUs = std::max(worstHalfUs, std::abs(double(half->timelineDurationUs) - expectedUs));
            const double mappedUs = double(retimedDuration(half->speedCurve, clipSourceSpanUs(*half)));
            worstHalfUs = std::max(worstHalfUs, std::abs(mappedUs - expectedUs));
        }

        for (int k = 0; k <= 2000; ++k) {
            const TimeUs localUs = durationUs * k / 2000;
            const Clip &half = localUs < offsetUs ? left : right;
            const double shownUs = double(clipSourceTimeUs(half, clip.timelineStartUs + localUs));
            worstSourceUs = std::max(worstSourceUs,
                                     std::abs(shownUs - referenceSourceUs(clip, reference, double(localUs))));
        }
    }
    std::printf("split over 200 curves: worst source difference %.1f us, worst half length error %.1f us, "
                "worst duration sum error %lld us\n",
                worstSourceUs, worstHalfUs, static_cast<long long>(worstSumUs));
    EXPECT_LE(worstSourceUs, 1000.0);
    EXPECT_LE(worstHalfUs, 1000.0);
    EXPECT_LE(worstSumUs, 40000); // one frame at 25 fps
}

// On the 0.5 to 4 ramp over 10 s of source (5.941 s long): trims move one edge and leave the
// source under every remaining frame where it was; growth past the drawn ends runs at the speed
// playing at that edge.
TEST(CurvedTrim, EdgesMoveAndTheFramesBetweenStay)
{
    const Project project = projectWithFile();
    const double spanUs = 10000000.0;
    const Clip clip = curvedClip(rampCurve(), TimeUs(spanUs));
    const TimeUs startUs = clip.timelineStartUs;
    const auto rampSourceUs = [&](TimeUs t) {
        return 2e6 + spanUs * rampPosition(double(t - startUs), spanUs);
    };

    Clip left = clip;
    ASSERT_TRUE(trimLeftEdge(project, left, startUs + 1000000));
    EXPECT_EQ(left.timelineEndUs(), clip.timelineEndUs());
    Clip right = clip;
    ASSERT_TRUE(trimRightEdge(project, right, clip.timelineEndUs() + 1000000));
    EXPECT_NEAR(double(right.srcOutUs), 16000000.0, 4.0); // 1 s more at the end speed 4
    for (TimeUs t = startUs + 1000000; t < clip.timelineEndUs(); t += 250000) {
        EXPECT_NEAR(double(clipSourceTimeUs(left, t)), rampSourceUs(t), 3.0) << t;
        EXPECT_NEAR(double(clipSourceTimeUs(right, t)), rampSourceUs(t), 3.0) << t;
    }

    Clip grown = clip;
    ASSERT_TRUE(trimLeftEdge(project, grown, startUs - 1000000));
    EXPECT_NEAR(double(grown.srcInUs), 1500000.0, 1.0); // speed 0.5 plays at the left edge
    Clip reversed = curvedClip(rampCurve(), TimeUs(spanUs), true);
    ASSERT_TRUE(trimLeftEdge(project, reversed, startUs - 1000000));
    EXPECT_NEAR(double(reversed.srcOutUs), 12500000.0, 1.0); // reversed, 0.5 still plays there
    EXPECT_EQ(reversed.timelineEndUs(), clip.timelineEndUs());
}
