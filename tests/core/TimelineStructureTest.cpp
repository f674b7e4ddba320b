// Pure rules behind the structural edits: transition partners, durations, windows and weights;
// canvas pinning and crop; track words and index moves.
#include "ControllerFixture.h"
#include "core/document/model/ProjectSetup.h"
#include "core/document/editing/Transitions.h"

using namespace fixture;

namespace {

Transition between(const QString &id, const QString &from, const QString &to, TimeUs durationUs)
{
    Transition transition;
    transition.id = id;
    transition.fromClipId = from;
    transition.toClipId = to;
    transition.durationUs = durationUs;
    return transition;
}

} // namespace

TEST(TransitionRules, PartnerIsTheNextTouchingClipInStartOrder)
{
    // Listed out of start order on purpose: c starts before b but after a.
    Track track = makeTrack(TrackType::video, {makeClip("a", 0, 2000000), makeClip("b", 5000000, 1000000),
                                               makeClip("c", 2000500, 1000000)});
    EXPECT_EQ(transitionPartnerIndex(track, 0), 2);  // touches within the 1 ms tolerance
    EXPECT_EQ(transitionPartnerIndex(track, 2), -1); // 2 s gap to b
    EXPECT_EQ(transitionPartnerIndex(track, 1), -1); // nothing after the last clip
    EXPECT_EQ(transitionPartnerIndex(track, 7), -1);
    track.clips[1].timelineStartUs = 2800000; // now b overlaps c
    EXPECT_EQ(transitionPartnerIndex(track, 2), 1);

    const Clip left = makeClip("a", 0, 2000000);
    EXPECT_EQ(newTransitionDurationUs(left, makeClip("b", 1700000, 1000000), 900000), 300000); // the overlap
    EXPECT_EQ(newTransitionDurationUs(left, makeClip("b", 2000000, 1000000), 900000), 900000);
    EXPECT_EQ(newTransitionDurationUs(left, makeClip("b", 2000000, 1000000), 20000), 100000);
}

TEST(TransitionRules, DurationOnOverlapMovesTheRightClipWithinTheShorterClip)
{
    Track track = makeTrack(TrackType::video, {makeClip("a", 0, 4000000), makeClip("b", 3500000, 1000000)});
    track.transitions = {between("t", "a", "b", 500000)};
    int moved = -2;
    ASSERT_TRUE(applyTransitionDuration(track, 0, 800000, &moved));
    EXPECT_EQ(moved, 1);
    EXPECT_EQ(track.transitions[0].durationUs, 800000);
    EXPECT_EQ(track.clips[1].timelineStartUs, 3200000);

    // Limited to the shorter clip less 50 ms.
    ASSERT_TRUE(applyTransitionDuration(track, 0, 3000000, &moved));
    EXPECT_EQ(track.transitions[0].durationUs, 950000);
    EXPECT_EQ(track.clips[1].timelineStartUs, 3050000);

    // Floored at 100 ms, even when the shorter clip is tiny.
    track.clips[1].timelineDurationUs = 120000;
    ASSERT_TRUE(applyTransitionDuration(track, 0, 10000, &moved));
    EXPECT_EQ(track.transitions[0].durationUs, 100000);
    EXPECT_EQ(track.clips[1].timelineStartUs, 3900000);
}

TEST(TransitionRules, DurationOnTouchingClipsMovesNothingAndMissingClipsRefuse)
{
    Track track = makeTrack(TrackType::video, {makeClip("a", 0, 2000000), makeClip("b", 2000000, 1000000)});
    track.transitions = {between("t", "a", "b", 500000), between("gone", "a", "zz", 500000)};
    int moved = -2;
    ASSERT_TRUE(applyTransitionDuration(track, 0, 1500000, &moved));
    EXPECT_EQ(moved, -1);
    EXPECT_EQ(track.transitions[0].durationUs, 1500000);
    EXPECT_EQ(track.clips[1].timelineStartUs, 2000000);
    EXPECT_FALSE(applyTransitionDuration(track, 1, 800000, &moved));
    EXPECT_FALSE(applyTransitionDuration(track, 5, 800000, &moved));
    EXPECT_EQ(findTransitionById(track, QStringLiteral("gone")), 1);
    EXPECT_EQ(findTransitionBetween(track, QStringLiteral("a"), QStringLiteral("b")), 0);
    EXPECT_EQ(findTransitionBetween(track, QStringLiteral("b"), QStringLiteral("a")), -1);
}

TEST(TransitionRules, WindowProgressAndWeights)
{
    const Clip left = makeClip("a", 0, 2000000);
    const auto overlap = transitionWindow(left, makeClip("b", 1600000, 1000000), 999);
    ASSERT_TRUE(overlap); // follows the overlap whatever the duration
    EXPECT_EQ(overlap->startUs, 1600000);
    EXPECT_EQ(overlap->endUs, 2000000);
    const auto centred = transitionWindow(left, makeClip("b", 2000000, 1000000), 500001);
    ASSERT_TRUE(centred); // centred on the cut
    EXPECT_EQ(centred->startUs, 2000000 - 250000);
    EXPECT_EQ(centred->endUs, 2000000 + 250000);
    EXPECT_FALSE(transitionWindow(left, makeClip("b", 2000000, 1000000), 0));

    EXPECT_DOUBLE_EQ(transitionProgress(*overlap, 1500000), 0.0);
    EXPECT_DOUBLE_EQ(transitionProgress(*overlap, 1700000), 0.25);
    EXPECT_DOUBLE_EQ(transitionProgress(*overlap, 2500000), 1.0);

    const struct
    {
        const char *kind;
        double progress, outgoing, incoming;
    } weights[] = {{"hold", 0.3, 1.0, 1.0},         {"dip", 0.25, 0.5, 0.0},
                   {"dip", 0.5, 0.0, 0.0},          {"dip", 0.75, 0.0, 0.5},
                   {"crossfade", 0.25, 0.75, 0.25}, {"some.package.wipe", 1.0, 0.0, 1.0}};
    for (const auto &row : weights) {
        SCOPED_TRACE(testing::Message() << row.kind << " at " << row.progress);
        const TransitionWeights w = transitionWeights(QLatin1String(row.kind), row.progress);
        EXPECT_DOUBLE_EQ(w.outgoing, row.outgoing);
        EXPECT_DOUBLE_EQ(w.incoming, row.incoming);
    }
}

TEST(CanvasSetup, PinningGivesOnlyEmptyVisualSizesTheOldCanvas)
{
    Clip sized = makeClip("sized", 0, 1000000, ClipType::image);
    sized.width = constantProperty(300);
    Project project =
        makeProject({makeTrack(TrackType::video, {makeClip("v", 0, 1000000), sized}),
                     makeTrack(TrackType::audio, {makeClip("a", 0, 1000000, ClipType::audio)})});
    project.width = 1280;
    project.height = 720;

    pinVisualClipSizes(project);
    EXPECT_EQ(project.tracks[0].clips[0].width, constantProperty(1280));
    EXPECT_EQ(project.tracks[0].clips[0].height, constantProperty(720));
    EXPECT_EQ(project.tracks[0].clips[1].width, constantProperty(300));
    EXPECT_EQ(project.tracks[0].clips[1].height, constantProperty(720));
    EXPECT_TRUE(project.tracks[1].clips[0].width.isEmpty());
    EXPECT_TRUE(projectHasVisualClips(project));
    project.tracks[0].clips.clear();
    EXPECT_FALSE(projectHasVisualClips(project));
}

TEST(CanvasSetup, CropShiftsEveryPositionKeyAndClampsTheSize)
{
    Clip moving = makeClip("m", 0, 2000000);
    moving.x = keys({{0, 100.0}, {1000000, 400.0}});
    Project project =
        makeProject({makeTrack(TrackType::video, {moving, makeClip("still", 0, 2000000, ClipType::text)})});
    ASSERT_TRUE(cropCanvas(project, 60, 40, 9000, 10));
    EXPECT_EQ(project.width, 7680);
    EXPECT_EQ(project.height, 16);
    const Clip &shifted = project.tracks[0].clips[0];
    EXPECT_DOUBLE_EQ(shifted.x.keyframes.value(0).value, 40.0);
    EXPECT_DOUBLE_EQ(shifted.x.keyframes.value(1000000).value, 340.0);
    EXPECT_EQ(shifted.y, constantProperty(-40.0));
    EXPECT_EQ(shifted.width, constantProperty(1920)); // pinned at the old canvas size
    EXPECT_EQ(project.tracks[0].clips[1].x, constantProperty(-60.0));

    // A zero shift leaves an empty property empty; the same rectangle again is refused.
    Project plain = makeProject({makeTrack(TrackType::video, {makeClip("p", 0, 1000000)})});
    ASSERT_TRUE(cropCanvas(plain, 0, 0, 1000, 1080));
    EXPECT_TRUE(plain.tracks[0].clips[0].x.isEmpty());
    EXPECT_FALSE(cropCanvas(plain, 0, 0, 1000, 1080));
}

TEST(CanvasSetup, NamedAspectsTrackWordsAndIndexMoves)
{
    EXPECT_EQ(nearestNamedAspect(1920.0 / 1080.0), QStringLiteral("16:9"));
    EXPECT_EQ(nearestNamedAspect(1080.0 / 1920.0), QStringLiteral("9:16"));
    EXPECT_EQ(nearestNamedAspect(1.34), QStringLiteral("4:3"));
    EXPECT_EQ(nearestNamedAspect(1.019), QStringLiteral("1:1"));
    EXPECT_EQ(nearestNamedAspect(2.39), QStringLiteral("source"));

    EXPECT_EQ(trackTypeFromUserText(QStringLiteral(" Video ")), TrackType::video);
    EXPECT_EQ(trackTypeFromUserText(QStringLiteral("SUBTITLE")), TrackType::subtitle);
    EXPECT_FALSE(trackTypeFromUserText(QStringLiteral("vid")));
    EXPECT_FALSE(trackTypeFromUserText(QString()));

    for (int from = 0; from < 4; ++from) {
        for (int to = 0; to < 4; ++to) {
            QList<int> rows{0, 1, 2, 3};
            rows.move(from, to);
            for (int newIndex = 0; newIndex < 4; ++newIndex)
                EXPECT_EQ(trackIndexAfterMove(rows[newIndex], from, to), newIndex) << from << "->" << to;
        }
    }
}
