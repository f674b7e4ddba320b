#include "AnimationReference.h"
#include "SpeedCurveFixtures.h"

#include "core/document/timing/ClipTiming.h"
#include "core/document/timing/SpeedCurve.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

using namespace orvel;
using namespace orvel::curvefixture;

namespace {

// Speed 0.5 rising to 4 at a quarter, falling to 2 at five eighths and to 1 at the end: straight
// segments between points on the table grid, so the exact integral has a closed form.
SpeedCurve rampCurve()
{
    return normaliseSpeedCurve({point(0, 0.5), point(0.25, 4.0), point(0.625, 2.0), point(1, 1.0)});
}

// The knots of rampCurve, and from them the exact speed at p and the exact integral of 1 / speed
// from 0 to p.
constexpr double kRampKnots[][2] = {{0, 0.5}, {0.25, 4.0}, {0.625, 2.0}, {1, 1.0}};

double rampSpeed(double p)
{
    const int k = p < 0.25 ? 0 : p < 0.625 ? 1 : 2;
    const double f = (p - kRampKnots[k][0]) / (kRampKnots[k + 1][0] - kRampKnots[k][0]);
    return kRampKnots[k][1] + f * (kRampKnots[k + 1][1] - kRampKnots[k][1]);
}

double rampIntegral(double p)
{
    // On a segment with s = s0 + b (q - q0) the integral of dq / s from q0 to e is ln(s(e) / s0) / b.
    double total = 0.0;
    for (int k = 0; k < 3 && p > kRampKnots[k][0]; ++k) {
        const double q0 = kRampKnots[k][0];
        const double s0 = kRampKnots[k][1];
        const double b = (kRampKnots[k + 1][1] - s0) / (kRampKnots[k + 1][0] - q0);
        const double end = std::min(p, kRampKnots[k + 1][0]);
        total += std::log((s0 + b * (end - q0)) / s0) / b;
    }
    return total;
}

// Smallest and largest table speed in the cells around normalised position p.
std::pair<double, double> localSpeedRange(const SpeedCurve &curve, double p)
{
    const int centre = int(std::clamp(p, 0.0, 1.0) * kSpeedTableCells);
    const auto first = curve.speedTable.cbegin() + std::max(centre - 1, 0);
    const auto last = curve.speedTable.cbegin() + std::min(centre + 2, kSpeedTableCells) + 1;
    const auto [low, high] = std::minmax_element(first, last);
    return {*low, *high};
}

} // namespace

TEST(SpeedCurveTables, NormalisingSortsClampsAndShrinksHandles)
{
    EXPECT_FALSE(normaliseSpeedCurve({}).isActive());
    const SpeedCurve single = normaliseSpeedCurve({point(0.5, 2.0)});
    EXPECT_TRUE(single.points.isEmpty() && single.speedTable.isEmpty() && single.timeTable.isEmpty());

    // The middle point was dragged from 0.3 to 0.8, past its neighbour at 0.6.
    const SpeedCurve curve =
        normaliseSpeedCurve({point(0.1, 0.01, 0.5, 1.0, 0.2), point(0.8, 3.0, 0.5, 0, -0.7),
                             point(0.6, 20.0, 0.3, 0, -0.9), point(1.3, 2.0, 0.1, 0, -0.3)});
    // Pinned to the ends and sorted; speeds clamped; the first point's positive in-handle and the
    // last one's out-handle have no room at all, the others shrink to fit their gaps.
    const double expected[][4] = {{0.0, kCurveSpeedMin, 0.0, 0.5},
                                  {0.6, kCurveSpeedMax, -0.6, 0.2},
                                  {0.8, 3.0, -0.2, 0.2},
                                  {1.0, 2.0, -0.2, 0.0}};
    ASSERT_EQ(curve.points.size(), 4);
    for (int i = 0; i < 4; ++i) {
        SCOPED_TRACE(i);
        const SpeedCurvePoint &p = curve.points[i];
        EXPECT_DOUBLE_EQ(p.pos, expected[i][0]);
        EXPECT_DOUBLE_EQ(p.speed, expected[i][1]);
        EXPECT_DOUBLE_EQ(p.inDx, expected[i][2]);
        EXPECT_DOUBLE_EQ(p.outDx, expected[i][3]);
    }
    for (double s : curve.speedTable) {
        EXPECT_GE(s, kCurveSpeedMin);
        EXPECT_LE(s, kCurveSpeedMax);
    }
}

TEST(SpeedCurveTables, StraightSegmentsMatchTheClosedFormIntegral)
{
    const SpeedCurve curve = rampCurve();
    ASSERT_EQ(curve.speedTable.size(), kSpeedTableCells + 1);
    ASSERT_EQ(curve.timeTable.size(), kSpeedTableCells + 1);
    // The table speeds come from the 24-round bisection, good to about 1e-7 in speed.
    for (int i = 0; i <= kSpeedTableCells; ++i) {
        const double p = i * kSpeedTableStep;
        EXPECT_NEAR(curve.speedTable[i], rampSpeed(p), 2e-7) << i;
        EXPECT_NEAR(curve.timeTable[i], rampIntegral(p), 1e-7) << i;
    }
}

TEST(SpeedCurveTables, HandleCurvesMatchDenseSamplingAndNumericIntegration)
{
    const SpeedCurve curve = normaliseSpeedCurve(
        {point(0, 1.0, 0.2, 3.0), point(0.4, 5.0, 0.1, -2.0, -0.3, 1.0), point(1, 0.3, 0, 0, -0.5, 2.0)});
    const testref::DenseCurve first = testref::sampleBezier({0, 0.2, 0.1, 0.4}, {1.0, 4.0, 6.0, 5.0});
    const testref::DenseCurve second = testref::sampleBezier({0.4, 0.5, 0.5, 1.0}, {5.0, 3.0, 2.3, 0.3});
    auto referenceSpeed = [&](double p) {
        return std::clamp(p <= 0.4 ? first.yAt(p) : second.yAt(p), kCurveSpeedMin, kCurveSpeedMax);
    };
    for (int i = 0; i <= kSpeedTableCells; ++i)
        EXPECT_NEAR(curve.speedTable[i], referenceSpeed(i * kSpeedTableStep), 1e-5) << i;

    // Simpson's rule on the reference speed, 20,000 panels. The tables treat the speed as straight
    // within each of their 256 cells, which costs well under 1e-4 of the total on this curve.
    const int panels = 20000;
    double sum = 0.0;
    for (int k = 0; k <= panels; ++k) {
        const double weight = (k == 0 || k == panels) ? 1.0 : (k % 2 ? 4.0 : 2.0);
        sum += weight / referenceSpeed(double(k) / panels);
    }
    const double integral = sum / (3.0 * panels);
    EXPECT_NEAR(curve.timeTable[256], integral, integral * 1e-4);
}

TEST(SpeedCurveMapping, InactiveCurvesAndEmptySpansAreTheIdentity)
{
    const SpeedCurve none;
    const SpeedCurve onePoint = normaliseSpeedCurve({point(0.2, 3.0)});
    for (const SpeedCurve *curve : {&none, &onePoint}) {
        EXPECT_EQ(retimedDuration(*curve, 5000000), 5000000);
        EXPECT_EQ(sourceOffsetFromTimeline(*curve, 1234, 5000000), 1234);
        EXPECT_EQ(timelineOffsetFromSource(*curve, 1234, 5000000), 1234);
        EXPECT_EQ(speedAtSource(*curve, 0.5), 1.0);
        EXPECT_EQ(speedAtTimeline(*curve, 1234, 5000000), 1.0);
        EXPECT_FALSE(subCurve(*curve, 0.0, 1.0).isActive());
    }
    const SpeedCurve curve = rampCurve();
    for (TimeUs span : {TimeUs(0), TimeUs(-40)}) {
        EXPECT_EQ(retimedDuration(curve, span), span);
        EXPECT_EQ(sourceOffsetFromTimeline(curve, 777, span), 777);
        EXPECT_EQ(timelineOffsetFromSource(curve, 777, span), 777);
        EXPECT_EQ(speedAtTimeline(curve, 777, span), 1.0);
    }
    EXPECT_EQ(retimedDuration(flatCurve(2.0), 7000000), 3500000);
    EXPECT_EQ(retimedDuration(flatCurve(0.25), 1), 4); // the smallest real span still maps
}

TEST(SpeedCurveMapping, MappingsAreInverseOverRandomCurves)
{
    // Each mapping rounds its result to a whole microsecond. A round trip therefore carries the
    // half microsecond lost in the middle domain, scaled by the local speed ratio into the other,
    // plus its own final half microsecond:
    //   source -> timeline -> source: |error| <= 0.5 + 0.5 * speed
    //   timeline -> source -> timeline: |error| <= 0.5 + 0.5 / speed
    // so each direction is within 1 us where that ratio is at most 1 (slow motion for the first,
    // fast motion for the second) and within a few microseconds at the 8x and 0.1x limits. The
    // speed used is the largest (or smallest) table speed near the point, and 1e-3 covers the
    // floating-point error of exp and log on spans up to an hour.
    std::mt19937 rng(20261121);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    for (int round = 0; round < 200; ++round) {
        const SpeedCurve curve = randomCurve(rng);
        const TimeUs span = TimeUs(100000 + unit(rng) * 3.6e9);
        const TimeUs retimed = retimedDuration(curve, span);
        EXPECT_EQ(timelineOffsetFromSource(curve, span, span), retimed);
        for (int k = 0; k < 50; ++k) {
            const TimeUs s = TimeUs(unit(rng) * double(span));
            const TimeUs backS =
                sourceOffsetFromTimeline(curve, timelineOffsetFromSource(curve, s, span), span);
            const double p = double(s) / double(span);
            const double sourceError = std::abs(double(backS - s));
            EXPECT_LE(sourceError, 0.5 + 0.5 * localSpeedRange(curve, p).second + 1e-3)
                << round << " s=" << s;

            const TimeUs t = TimeUs(unit(rng) * double(retimed));
            const TimeUs sourceAtT = sourceOffsetFromTimeline(curve, t, span);
            const double timelineError =
                std::abs(double(timelineOffsetFromSource(curve, sourceAtT, span) - t));
            const double q = double(sourceAtT) / double(span);
            EXPECT_LE(timelineError, 0.5 + 0.5 / localSpeedRange(curve, q).first + 1e-3)
                << round << " t=" << t;
        }
        EXPECT_NEAR(double(sourceOffsetFromTimeline(curve, retimed, span)), double(span),
                    0.5 + 0.5 * curve.speedTable[256] + 1e-3);
    }
}

TEST(SpeedCurveMapping, SpeedsAlongTheCurve)
{
    const SpeedCurve ramp = rampCurve();
    EXPECT_NEAR(speedAtSource(ramp, 0.125), 2.25, 1e-6);
    EXPECT_EQ(speedAtSource(ramp, -3.0), ramp.speedTable[0]);
    EXPECT_EQ(speedAtSource(ramp, 7.0), ramp.speedTable[256]);
    EXPECT_NEAR(speedAtSource(ramp, 76.5 * kSpeedTableStep),
                0.5 * (ramp.speedTable[76] + ramp.speedTable[77]), 1e-12);

    // The speed at a timeline offset is the speed at the source position it plays.
    std::mt19937 rng(7);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    for (int round = 0; round < 20; ++round) {
        const SpeedCurve curve = randomCurve(rng);
        const TimeUs span = 2000000000;
        for (int k = 0; k < 40; ++k) {
            const TimeUs t = TimeUs(unit(rng) * double(retimedDuration(curve, span)));
            const double p = double(sourceOffsetFromTimeline(curve, t, span)) / double(span);
            EXPECT_NEAR(speedAtTimeline(curve, t, span), speedAtSource(curve, p), 1e-4) << t;
        }
    }
}

TEST(ClipTiming, ConstantSpeedAndReverse)
{
    Clip clip;
    clip.timelineStartUs = 10000000;
    clip.timelineDurationUs = 2000000;
    clip.srcInUs = 1000000;
    clip.srcOutUs = 5000000;
    clip.speed = 2.0;
    EXPECT_EQ(clipSourceTimeUs(clip, 10500000), 2000000);
    EXPECT_EQ(clipSourceTimeUs(clip, 9000000), 1000000);  // before the clip: its first frame
    EXPECT_EQ(clipSourceTimeUs(clip, 15000000), 5000000); // after it: its last
    EXPECT_EQ(clipTimelineOffsetUs(clip, 3000000), 1500000);
    EXPECT_EQ(clipSpeedAtLocalUs(clip, 0), 2.0);
    EXPECT_EQ(clipLeadingGrowthSourceUs(clip, 250000), 500000);

    clip.reverse = true;
    EXPECT_EQ(clipSourceTimeUs(clip, 10000000), 5000000);
    EXPECT_EQ(clipSourceTimeUs(clip, 10500000), 4000000);
    clip.timelineDurationUs = 3000000; // longer than the source allows: never before srcInUs
    EXPECT_EQ(clipSourceTimeUs(clip, 12900000), 1000000);
    clip.srcOutUs = clip.srcInUs;
    EXPECT_EQ(clipSourceTimeUs(clip, 10500000), 1000000);

    clip.reverse = false;
    clip.speed = -2.0; // an old file's value reads as 1.0
    EXPECT_EQ(clipSourceTimeUs(clip, 10400000), 1400000);
    EXPECT_EQ(clipTimelineOffsetUs(clip, 400000), 400000);
}

TEST(ClipTiming, CurvedClips)
{
    Clip clip;
    clip.timelineStartUs = 1000000;
    clip.srcInUs = 2000000;
    clip.srcOutUs = 6000000;
    clip.speed = 3.0; // ignored while the curve is active
    clip.speedCurve = normaliseSpeedCurve({point(0, 0.5), point(1, 4.0)});
    clip.timelineDurationUs = retimedDuration(clip.speedCurve, 4000000);

    const TimeUs local = 700000;
    const TimeUs expected = 2000000 + sourceOffsetFromTimeline(clip.speedCurve, local, 4000000);
    EXPECT_EQ(clipSourceTimeUs(clip, 1000000 + local), expected);
    // Past the end the local time clamps to the duration, itself rounded to a microsecond: at the
    // end's speed of 4 that half microsecond is up to 2 us of source.
    EXPECT_NEAR(double(clipSourceTimeUs(clip, 1000000 + clip.timelineDurationUs + 5000000)), 6000000.0, 2.0);
    EXPECT_NEAR(double(clipTimelineOffsetUs(clip, expected - 2000000)), double(local), 1.0);
    EXPECT_NEAR(clipSpeedAtLocalUs(clip, 0), 0.5, 1e-9);
    EXPECT_NEAR(clipLeadingGrowthSourceUs(clip, 100000), 50000, 1);
    // Reversed, position 0 of the curve still plays at the left edge: speed 0.5 there, not 4.
    clip.reverse = true;
    EXPECT_NEAR(clipLeadingGrowthSourceUs(clip, 100000), 50000, 1);

    // A curved clip with no source span maps as the identity.
    clip.reverse = false;
    clip.srcOutUs = clip.srcInUs;
    clip.timelineDurationUs = 1000000;
    EXPECT_EQ(clipSourceTimeUs(clip, 1300000), 2300000);
}

TEST(ClipTiming, SpeedChangeKeepsTheTimelineLengthUntilTheFileEnds)
{
    const struct
    {
        TimeUs durationUs, outUs;
        double speed;
        TimeUs fileEndUs, expectedOutUs, expectedDurationUs;
    } rows[] = {
        {2000000, 3000000, 2.0, 10000000, 5000000, 2000000},
        {2000000, 5000000, 3.0, 4000000, 4000000, 1000000}, // wants 6 s of source, only 3 s remain
        {1000000, 4000000, 0.0, 4000000, 2000000, 1000000}, // an old file's 0 reads as 1
        {375000, 2500000, 0.25, 2500000, 1093750, 375000},  // slower: the source span shrinks
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.speed);
        Clip clip;
        clip.timelineDurationUs = row.durationUs;
        clip.srcInUs = 1000000;
        clip.srcOutUs = row.outUs;
        clip.speed = row.speed;
        applySpeedDurationRule(clip, row.fileEndUs);
        EXPECT_EQ(clip.srcOutUs, row.expectedOutUs);
        EXPECT_EQ(clip.timelineDurationUs, row.expectedDurationUs);
    }

    Project project; // the asset's length is the file's end
    Asset asset;
    asset.id = "a";
    asset.durationUs = 2500000;
    project.insertAsset(asset);
    Clip clip;
    clip.assetId = "a";
    clip.timelineDurationUs = 1000000;
    clip.srcInUs = 1000000;
    clip.speed = 4.0;
    applySpeedDurationRule(project, clip);
    EXPECT_EQ(clip.srcOutUs, 2500000);
    EXPECT_EQ(clip.timelineDurationUs, 375000);
}

TEST(ClipTiming, ASpeedChangeKeepsACurvedClipOnItsCurve)
{
    Clip clip;
    clip.srcInUs = 1000000;
    clip.srcOutUs = 11000000;
    clip.speedCurve = normaliseSpeedCurve({point(0, 0.5), point(1, 4.0)});
    clip.timelineDurationUs = 5000000; // stale: the 0.5 to 4 ramp over 10 s lasts 10 ln 8 / 3.5 s
    clip.speed = 2.0;
    applySpeedDurationRule(clip, 20000000);
    EXPECT_EQ(clip.srcOutUs, 11000000);
    EXPECT_NEAR(double(clip.timelineDurationUs), 1e7 * std::log(8.0) / 3.5, 3.0);
}

TEST(ClipTiming, ClearingACurveRestoresTheConstantSpeedDuration)
{
    Clip clip;
    clip.srcInUs = 500000;
    clip.srcOutUs = 4500000;
    clip.speedCurve = flatCurve(2.0);
    clip.timelineDurationUs = retimedDuration(clip.speedCurve, 4000000);
    ASSERT_TRUE(clearSpeedCurve(clip));
    EXPECT_FALSE(clip.speedCurve.isActive());
    EXPECT_TRUE(clip.speedCurve.speedTable.isEmpty());
    EXPECT_EQ(clip.timelineDurationUs, 4000000);

    EXPECT_FALSE(clearSpeedCurve(clip)); // nothing to clear
    EXPECT_EQ(clip.timelineDurationUs, 4000000);

    clip.speedCurve = flatCurve(0.5);
    clip.speed = 3.0;
    ASSERT_TRUE(clearSpeedCurve(clip));
    EXPECT_EQ(clip.timelineDurationUs, 1333333);
    clip.speedCurve = flatCurve(0.5);
    clip.speed = -1.0;
    clip.srcOutUs = clip.srcInUs;
    ASSERT_TRUE(clearSpeedCurve(clip));
    EXPECT_EQ(clip.timelineDurationUs, 1); // never below one microsecond
}
