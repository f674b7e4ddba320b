// The pure edit arithmetic: snapping, placement, the split core, trims at their limits, merge
// rules and the timeline normalisation.
#include "core/document/editing/ClipEditing.h"
#include "core/document/timing/ClipTiming.h"
#include "core/document/editing/TimelineNormalise.h"

#include <gtest/gtest.h>

using namespace orvel;

namespace {

Clip mediaClip(const QString &id, TimeUs startUs, TimeUs durationUs, TimeUs srcInUs = 0)
{
    Clip clip;
    clip.id = id;
    clip.type = ClipType::video;
    clip.assetId = QStringLiteral("asset");
    clip.path = QStringLiteral("/media/a.mp4");
    clip.timelineStartUs = startUs;
    clip.timelineDurationUs = durationUs;
    clip.srcInUs = srcInUs;
    clip.srcOutUs = srcInUs + durationUs;
    return clip;
}

// One video track holding the given clips, and a 20 s asset behind them.
Project projectWith(const QList<Clip> &clips)
{
    Project project;
    Asset asset;
    asset.id = QStringLiteral("asset");
    asset.kind = AssetKind::video;
    asset.durationUs = 20000000;
    project.insertAsset(asset);
    project.tracks[0].clips = clips;
    return project;
}

} // namespace

TEST(Snap, CandidatesTiesRadiusAndFloor)
{
    Project project = projectWith({mediaClip("a", 1000000, 2000000)});
    SnapContext snap{true, 100000, {5100000}};

    // 0 and the playhead are both 50 ms from 50 ms: the earlier candidate (0) wins the tie.
    EXPECT_EQ(snapTimeUs(project, snap, 50000), 0);
    // Clip edges and beats are candidates; the radius is strict.
    EXPECT_EQ(snapTimeUs(project, snap, 2950000), 3000000);
    EXPECT_EQ(snapTimeUs(project, snap, 3150000), 3150000);
    EXPECT_EQ(snapTimeUs(project, snap, 3149999), 3000000);
    EXPECT_EQ(snapTimeUs(project, snap, 5000000), 5100000);
    // The nearest candidate wins over an earlier but farther one.
    EXPECT_EQ(snapTimeUs(project, snap, 180000), 100000);

    snap.enabled = false;
    EXPECT_EQ(snapTimeUs(project, snap, 2950000), 2950000);
    EXPECT_EQ(snapTimeUs(project, snap, -400000), 0);
}

TEST(Placement, SlidesRightPastEveryClipItHits)
{
    Project project = projectWith({mediaClip("late", 4000000, 1000000), mediaClip("early", 1000000, 2000000),
                                   mediaClip("mid", 3000000, 1000000)});
    const SnapContext noSnap{false, 0, {}};
    // Wanted at 2 s for 1 s: hits "early", then "mid", then "late", and ends after all three.
    EXPECT_EQ(resolvePlacementUs(project, noSnap, 0, 2000000, 1000000), 5000000);
    // A span that fits in a gap stays.
    EXPECT_EQ(resolvePlacementUs(project, noSnap, 0, 0, 1000000), 0);
    // The left-out clip does not block.
    EXPECT_EQ(resolvePlacementUs(project, noSnap, 0, 3000000, 1000000, 2), 3000000);
    // Snapping happens first: 3.1 s snaps to 3 s (end of "early") and is then pushed along.
    const SnapContext snap{true, 0, {}};
    EXPECT_EQ(resolvePlacementUs(project, snap, 0, 3100000, 500000), 5000000);
}

TEST(SplitCore, RefusesNearTheEdgesAndCutsSourceAndCues)
{
    const Clip clip = mediaClip("c", 1000000, 2000000, 500000);
    Clip left;
    Clip right;
    EXPECT_FALSE(splitClipCore(clip, 99999, left, right));
    EXPECT_FALSE(splitClipCore(clip, 2000000 - 50000, left, right));
    ASSERT_TRUE(splitClipCore(clip, 100000, left, right));

    ASSERT_TRUE(splitClipCore(clip, 800000, left, right));
    EXPECT_EQ(left.id, QStringLiteral("c"));
    EXPECT_NE(right.id, QStringLiteral("c"));
    EXPECT_EQ(left.timelineDurationUs, 800000);
    EXPECT_EQ(right.timelineStartUs, 1800000);
    EXPECT_EQ(right.timelineDurationUs, 1200000);
    EXPECT_EQ(left.srcOutUs, 1300000);
    EXPECT_EQ(right.srcInUs, 1300000);
    EXPECT_EQ(right.srcOutUs, 2500000);

    Clip fast = clip;
    fast.speed = 2.0;
    fast.srcOutUs = fast.srcInUs + 4000000;
    fast.reverse = true;
    ASSERT_TRUE(splitClipCore(fast, 500000, left, right));
    // Reversed: the left half plays the end of the source.
    EXPECT_EQ(right.srcInUs, 500000);
    EXPECT_EQ(right.srcOutUs, 4500000 - 1000000);
    EXPECT_EQ(left.srcInUs, right.srcOutUs);
    EXPECT_EQ(left.srcOutUs, 4500000);

    Clip subtitles = clip;
    subtitles.type = ClipType::subtitle;
    subtitles.subtitleCues = {{0, 300000, "one"}, {600000, 1000000, "two"}, {1000000, 1500000, "three"}};
    ASSERT_TRUE(splitClipCore(subtitles, 800000, left, right));
    ASSERT_EQ(left.subtitleCues.size(), 2);
    EXPECT_EQ(left.subtitleCues[1].endUs, 800000);
    ASSERT_EQ(right.subtitleCues.size(), 2);
    EXPECT_EQ(right.subtitleCues[0].startUs, 0);
    EXPECT_EQ(right.subtitleCues[0].endUs, 200000);
    EXPECT_EQ(right.subtitleCues[1].startUs, 200000);
    EXPECT_EQ(left.name, QStringLiteral("Subtitles (2)"));
    EXPECT_EQ(right.name, QStringLiteral("Subtitles (2)"));
}

TEST(Trim, GeneratedClipsStopAtTheirLimits)
{
    Project project = projectWith({});
    Clip text;
    text.type = ClipType::text;
    text.timelineStartUs = 1000000;
    text.timelineDurationUs = 5000000;
    text.srcOutUs = 5000000;
    text.subtitleCues = {{500000, 900000, "cue"}};

    Clip edited = text;
    EXPECT_FALSE(trimLeftEdge(project, edited, 5950000)); // would leave 50 ms
    ASSERT_TRUE(trimLeftEdge(project, edited, 0));        // grows by 1 s
    EXPECT_EQ(edited.timelineDurationUs, 6000000);
    EXPECT_EQ(edited.srcOutUs, 6000000);
    EXPECT_EQ(edited.subtitleCues[0].startUs, 1500000);

    edited = text;
    ASSERT_TRUE(trimRightEdge(project, edited, 1000000 + 400000000));
    EXPECT_EQ(edited.timelineDurationUs, kGeneratedClipMaxUs);
    ASSERT_TRUE(trimRightEdge(project, edited, 1000000 + 10));
    EXPECT_EQ(edited.timelineDurationUs, kMinClipLengthUs);

    Clip longText = text;
    longText.timelineStartUs = 10000000;
    longText.timelineDurationUs = kGeneratedClipMaxUs - 1000;
    EXPECT_FALSE(trimLeftEdge(project, longText, 10000000 - 2000)); // would pass the maximum
}

TEST(Trim, MediaClipsStopAtTheSource)
{
    Project project = projectWith({});
    const Clip clip = mediaClip("m", 5000000, 4000000, 1000000); // source 1..5 s of 20 s

    Clip edited = clip;
    EXPECT_FALSE(trimLeftEdge(project, edited, 3000000)); // needs 2 s before a 1 s in point
    ASSERT_TRUE(trimLeftEdge(project, edited, 4000000));
    EXPECT_EQ(edited.srcInUs, 0);
    EXPECT_EQ(edited.timelineDurationUs, 5000000);

    edited = clip;
    EXPECT_FALSE(trimLeftEdge(project, edited, 8950000)); // leaves 50 ms
    ASSERT_TRUE(trimLeftEdge(project, edited, 8000000));
    EXPECT_EQ(edited.srcInUs, 4000000);
    EXPECT_EQ(edited.timelineDurationUs, 1000000);

    edited = clip;
    ASSERT_TRUE(trimRightEdge(project, edited, 60000000));
    EXPECT_EQ(edited.timelineDurationUs, 19000000); // the rest of the file
    EXPECT_EQ(edited.srcOutUs, 20000000);

    Clip reversed = clip;
    reversed.reverse = true;
    reversed.speed = 2.0;
    reversed.timelineDurationUs = 2000000;
    ASSERT_TRUE(trimRightEdge(project, reversed, 5000000 + 10000000));
    // Reversed room is the out point (5 s of source), i.e. 2.5 s at double speed.
    EXPECT_EQ(reversed.timelineDurationUs, 2500000);
    EXPECT_EQ(reversed.srcInUs, 0);
}

TEST(SourceTrimAndFades, ClampToTheSourceAndTheClip)
{
    Project project = projectWith({});
    Clip clip = mediaClip("m", 0, 4000000);
    clip.speed = 2.0;
    applySourceTrim(project, clip, 19950000, 30000000);
    EXPECT_EQ(clip.srcInUs, 19900000);
    EXPECT_EQ(clip.srcOutUs, 20000000);
    EXPECT_EQ(clip.timelineDurationUs, kMinClipLengthUs);
    applySourceTrim(project, clip, -5, 8000000);
    EXPECT_EQ(clip.srcInUs, 0);
    EXPECT_EQ(clip.timelineDurationUs, 4000000);

    applyFades(clip, 5000000, 3000000);
    EXPECT_EQ(clip.fadeInUs, 4000000);
    EXPECT_EQ(clip.fadeOutUs, 0);
    applyFades(clip, 1000000, 5000000);
    EXPECT_EQ(clip.fadeOutUs, 3000000);
}

TEST(Merge, ForwardAndReversedRules)
{
    const Clip a = mediaClip("a", 0, 1000000, 2000000);
    Clip b = mediaClip("b", 1000000, 500000, 3000000);
    b.fadeOutUs = 200000;
    ASSERT_TRUE(clipsMergeable(a, b));
    EXPECT_FALSE(clipsMergeable(b, a));
    const Clip merged = mergedClip(a, b);
    EXPECT_EQ(merged.id, QStringLiteral("a"));
    EXPECT_EQ(merged.timelineDurationUs, 1500000);
    EXPECT_EQ(merged.srcOutUs, 3500000);
    EXPECT_EQ(merged.fadeOutUs, 200000);

    Clip gap = b;
    gap.timelineStartUs += 1;
    EXPECT_FALSE(clipsMergeable(a, gap));
    Clip jump = b;
    jump.srcInUs += 1;
    EXPECT_FALSE(clipsMergeable(a, jump));
    Clip other = b;
    other.assetId = QStringLiteral("other");
    EXPECT_FALSE(clipsMergeable(a, other));
    Clip oldFile = b;
    oldFile.speed = 0.0; // an old file's non-positive speed plays at 1
    EXPECT_TRUE(clipsMergeable(a, oldFile));
    Clip curved = b;
    curved.speedCurve = normaliseSpeedCurve({SpeedCurvePoint{0.0, 1.0}, SpeedCurvePoint{1.0, 1.0}});
    EXPECT_FALSE(clipsMergeable(a, curved));

    // Reversed: the later clip plays the earlier source, so a's in point meets b's out point.
    Clip ra = mediaClip("ra", 0, 1000000, 3000000);
    Clip rb = mediaClip("rb", 1000000, 1000000, 2000000);
    ra.reverse = rb.reverse = true;
    ASSERT_TRUE(clipsMergeable(ra, rb));
    const Clip reversed = mergedClip(ra, rb);
    EXPECT_EQ(reversed.srcInUs, 2000000);
    EXPECT_EQ(reversed.srcOutUs, 4000000);
    rb.reverse = false;
    EXPECT_FALSE(clipsMergeable(ra, rb));
}

TEST(Normalise, CrossfadesOverlapsAndPrunesPartedClips)
{
    Project project = projectWith(
        {mediaClip("b", 1940000, 1000000), mediaClip("a", 0, 2000000), mediaClip("c", 2900000, 1000000)});
    normaliseTimeline(project);
    // a-b overlap by 60 ms; b-c by 40 ms, which is below the threshold.
    const QList<Transition> &transitions = project.tracks[0].transitions;
    ASSERT_EQ(transitions.size(), 1);
    EXPECT_EQ(transitions[0].fromClipId, QStringLiteral("a"));
    EXPECT_EQ(transitions[0].toClipId, QStringLiteral("b"));
    EXPECT_EQ(transitions[0].kind, QStringLiteral("crossfade"));
    EXPECT_EQ(transitions[0].durationUs, 60000);
    EXPECT_FALSE(transitions[0].id.isEmpty());

    // A deeper overlap updates the same transition rather than adding one.
    project.tracks[0].clips.removeAt(2);
    const QString id = transitions[0].id;
    project.tracks[0].clips[0].timelineStartUs = 1900000;
    normaliseTimeline(project);
    ASSERT_EQ(project.tracks[0].transitions.size(), 1);
    EXPECT_EQ(project.tracks[0].transitions[0].id, id);
    EXPECT_EQ(project.tracks[0].transitions[0].durationUs, 100000);

    // Parting by up to 1 ms still counts as touching; 1.001 ms does not.
    project.tracks[0].clips[0].timelineStartUs = 2001000;
    normaliseTimeline(project);
    EXPECT_EQ(project.tracks[0].transitions.size(), 1);
    project.tracks[0].clips[0].timelineStartUs = 2001001;
    normaliseTimeline(project);
    EXPECT_TRUE(project.tracks[0].transitions.isEmpty());

    // A transition naming a missing clip goes; audio tracks are left alone.
    project.tracks[0].transitions.append(Transition{"t", "a", "gone", "wipe", {}, 500000});
    Track audio;
    audio.type = TrackType::audio;
    audio.clips = {mediaClip("x", 0, 1000000), mediaClip("y", 500000, 1000000)};
    project.tracks.append(audio);
    normaliseTimeline(project);
    EXPECT_TRUE(project.tracks[0].transitions.isEmpty());
    EXPECT_TRUE(project.tracks[1].transitions.isEmpty());
}

TEST(Normalise, LeavesANormalTrackSharedWithItsSnapshot)
{
    Project project = projectWith({mediaClip("a", 0, 2000000), mediaClip("b", 1900000, 1000000)});
    normaliseTimeline(project);
    const Project snapshot = project;
    normaliseTimeline(project);
    // Nothing to change, so nothing detached: the clip lists still share one buffer.
    EXPECT_EQ(std::as_const(project.tracks).constData(), snapshot.tracks.constData());
    EXPECT_EQ(std::as_const(project.tracks)[0].transitions.constData(),
              snapshot.tracks[0].transitions.constData());
}

TEST(Geometry, DefaultFramesOfNewClips)
{
    Asset portrait;
    portrait.width = 1920;
    portrait.height = 1080;
    portrait.rotationDegrees = 90;
    EXPECT_EQ(assetClipRect(&portrait, 1920, 1080), QRectF(0, 0, 607.5, 1080));
    EXPECT_EQ(assetClipRect(nullptr, 1920, 1080), QRectF(0, 0, 1920, 1080));
    EXPECT_EQ(textClipRect(1000, 1000), QRectF(0, 350, 1000, 300));
    EXPECT_EQ(subtitleClipRect(1000, 1000), QRectF(0, 780, 1000, 180));
    EXPECT_EQ(shapeClipRect(0.0, 1000, 1000), QRectF(0, 0, 480, 300)); // unknown aspect: 1.6
    EXPECT_EQ(shapeClipRect(4.0, 1000, 1000), QRectF(0, 0, 600, 150)); // capped at 60 % width
    EXPECT_EQ(squareClipRect(1920, 1080), QRectF(0, 0, 270, 270));
    EXPECT_EQ(squareClipRect(2, 2), QRectF(0, 0, 1, 1));

    Clip clip;
    clip.x.keyframes.insert(500000, Keyframe{3.0});
    setClipFrame(clip, QRectF(1, 2, 0.25, 40));
    ASSERT_EQ(clip.x.keyframes.size(), 1);
    EXPECT_EQ(clip.x.keyframes.firstKey(), 0);
    EXPECT_DOUBLE_EQ(clip.x.keyframes.first().value, 1.0);
    EXPECT_DOUBLE_EQ(clip.width.keyframes.first().value, 1.0);
}

TEST(Seconds, RoundToTheNearestMicrosecondAndStayFinite)
{
    // Every microsecond read out as seconds must come back as itself; about 2 % of them did not
    // while seconds were truncated (1.94 s is stored as 1.93999...).
    int wrong = 0;
    for (TimeUs us = 0; us < 4000000; us += 7)
        wrong += secondsToUs(usToSeconds(us)) != us;
    for (TimeUs us = 3599999000000; us < 3600000000000; us += 13)
        wrong += secondsToUs(usToSeconds(us)) != us;
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(secondsToUs(1.94), 1940000);
    EXPECT_EQ(secondsToUs(1.0000019), 1000002);
    EXPECT_EQ(secondsToUs(-0.5000004), -500000);
    EXPECT_EQ(secondsToUs(std::nan("")), 0);
    EXPECT_GT(secondsToUs(1e300), 0);
    EXPECT_LT(secondsToUs(-1e300), 0);
}
