#include "core/document/model/Project.h"

#include <QUuid>

#include <gtest/gtest.h>

#include <tuple>

using namespace orvel;

namespace {

Clip makeClip(TimeUs startUs, TimeUs durationUs, ClipType type = ClipType::video)
{
    Clip clip;
    clip.id = newUuid();
    clip.type = type;
    clip.timelineStartUs = startUs;
    clip.timelineDurationUs = durationUs;
    clip.srcOutUs = durationUs;
    return clip;
}

} // namespace

TEST(ProjectModel, DefaultProjectHasOneEmptyVideoTrackAndFreshId)
{
    const Project a;
    const Project b;
    ASSERT_EQ(a.tracks.size(), 1);
    EXPECT_EQ(a.tracks[0].type, TrackType::video);
    EXPECT_TRUE(a.tracks[0].clips.isEmpty());
    EXPECT_FALSE(QUuid::fromString(a.id).isNull());
    EXPECT_FALSE(a.id.startsWith('{'));
    EXPECT_NE(a.id, b.id);
    EXPECT_EQ(a.modifiedAt, a.createdAt);
    EXPECT_EQ(projectDurationUs(a), 0);
}

TEST(ProjectModel, DurationCountsHiddenAndMutedTracks)
{
    Project project;
    project.tracks[0].clips.append(makeClip(0, 2000000));
    Track hidden;
    hidden.hidden = true;
    hidden.muted = true;
    hidden.clips.append(makeClip(1000000, 4500000));
    project.tracks.append(hidden);
    EXPECT_EQ(projectDurationUs(project), 5500000);
}

TEST(ProjectModel, AssetDurationsAndSourceLengths)
{
    Project project;
    Asset image;
    image.id = "img";
    image.kind = AssetKind::image;
    image.durationUs = 40000; // images always default to five seconds regardless
    Asset video;
    video.id = "vid";
    video.kind = AssetKind::video;
    video.durationUs = 7000000;
    Asset empty;
    empty.id = "nodur";
    empty.kind = AssetKind::audio;
    project.insertAsset(image);
    project.insertAsset(video);
    project.insertAsset(empty);
    project.insertAsset(video); // re-inserting keeps one order entry
    EXPECT_EQ(project.assetOrder, (QList<QString>{"img", "vid", "nodur"}));

    EXPECT_EQ(defaultAssetDurationUs(nullptr), 5000000);
    EXPECT_EQ(defaultAssetDurationUs(project.asset("img")), 5000000);
    EXPECT_EQ(defaultAssetDurationUs(project.asset("vid")), 7000000);
    EXPECT_EQ(defaultAssetDurationUs(project.asset("nodur")), 5000000);
    EXPECT_EQ(project.asset("missing"), nullptr);

    Clip withAsset = makeClip(0, 1000000);
    withAsset.assetId = "vid";
    EXPECT_EQ(clipSourceLengthUs(project, withAsset), 7000000);
    Clip shape = makeClip(0, 9000000, ClipType::shape);
    EXPECT_EQ(clipSourceLengthUs(project, shape), 5000000);
    Clip text = makeClip(0, 3000000, ClipType::text);
    text.srcOutUs = 4000000;
    EXPECT_EQ(clipSourceLengthUs(project, text), 4000000);
    Clip unknownAsset = makeClip(0, 3000000, ClipType::audio);
    unknownAsset.assetId = "nodur";
    EXPECT_EQ(clipSourceLengthUs(project, unknownAsset), 3000000);
}

TEST(ProjectModel, TrackTypesAcceptOnlyTheirHomeClips)
{
    EXPECT_TRUE(trackAcceptsClipType(TrackType::shape, ClipType::image));
    EXPECT_TRUE(trackAcceptsClipType(TrackType::shape, ClipType::shape));
    EXPECT_FALSE(trackAcceptsClipType(TrackType::video, ClipType::image));
    EXPECT_FALSE(trackAcceptsClipType(TrackType::text, ClipType::subtitle));
    EXPECT_EQ(homeTrackType(ClipType::image), TrackType::shape);

    Project project;
    EXPECT_EQ(findTrackForClipType(project, ClipType::video), 0);
    EXPECT_EQ(findTrackForClipType(project, ClipType::audio), -1);
    EXPECT_EQ(ensureTrackForClipType(project, ClipType::audio), 1);
    EXPECT_EQ(ensureTrackForClipType(project, ClipType::text, true), 0);
    EXPECT_EQ(project.tracks[0].type, TrackType::text);
    EXPECT_EQ(project.tracks[2].type, TrackType::audio);
    EXPECT_EQ(ensureTrackForClipType(project, ClipType::audio), 2);
    EXPECT_EQ(insertTrackAt(project, 99, Track{}), 3);
    EXPECT_EQ(insertTrackAt(project, -4, Track{}), 0);
    EXPECT_EQ(project.tracks.size(), 5);
}

TEST(ProjectModel, AdjacencyAllowsOneMillisecondGapAndOverlapIsHalfOpen)
{
    const Clip left = makeClip(0, 1000000);
    EXPECT_TRUE(adjacent(left, makeClip(1001000, 10)));
    EXPECT_FALSE(adjacent(left, makeClip(1001001, 10)));
    EXPECT_TRUE(adjacent(left, makeClip(500000, 10)));  // overlapping still touches
    EXPECT_FALSE(adjacent(makeClip(500000, 10), left)); // right must not start before left

    EXPECT_TRUE(overlaps(left, makeClip(999999, 10)));
    EXPECT_FALSE(overlaps(left, makeClip(1000000, 10)));
    EXPECT_EQ(overlapLengthUs(left, makeClip(940000, 500000)), 60000);
    EXPECT_EQ(overlapLengthUs(left, makeClip(1000000, 500000)), 0);
}

TEST(ProjectModel, LinkedClipsAndFreshLinks)
{
    Project project;
    Clip video = makeClip(0, 1000000);
    video.linkId = "L1";
    video.suppressEmbeddedAudio = true;
    Clip other = makeClip(2000000, 1000000);
    project.tracks[0].clips = {video, other};
    Track audio;
    audio.type = TrackType::audio;
    Clip sound = makeClip(0, 1000000, ClipType::audio);
    sound.linkId = "L1";
    audio.clips.append(sound);
    project.tracks.append(audio);

    EXPECT_EQ(linkedClips(project, 0, 0), (QList<ClipRef>{{1, 0}}));
    EXPECT_EQ(linkedClips(project, 1, 0), (QList<ClipRef>{{0, 0}}));
    EXPECT_TRUE(linkedClips(project, 0, 1).isEmpty());
    EXPECT_TRUE(linkedClips(project, 5, 0).isEmpty());
    EXPECT_TRUE(linkedClips(project, 0, 9).isEmpty());

    Clip copy;
    const QString fresh = freshLinkForCopy(video, copy);
    EXPECT_FALSE(fresh.isEmpty());
    EXPECT_NE(fresh, "L1");
    EXPECT_EQ(copy.linkId, fresh);
    EXPECT_TRUE(copy.suppressEmbeddedAudio);
    Clip unlinkedCopy;
    EXPECT_TRUE(freshLinkForCopy(other, unlinkedCopy).isEmpty());
    EXPECT_TRUE(unlinkedCopy.linkId.isEmpty());
}

TEST(ProjectModel, CopyTimingKeepsPartnersInStepAndNothingElse)
{
    Clip from = makeClip(123, 456);
    from.srcInUs = 7;
    from.srcOutUs = 900;
    from.speed = 2.0;
    from.reverse = true;
    from.fadeInUs = 11;
    from.fadeOutUs = 12;
    from.fadeCurve = FadeCurve::equalPower;
    from.speedCurve = normaliseSpeedCurve({{0.0, 2.0}, {1.0, 2.0}});
    from.name = "source";
    Clip to = makeClip(0, 1);
    to.name = "target";
    copyTiming(from, to);
    auto timing = [](const Clip &c) {
        return std::tuple(c.timelineStartUs, c.timelineDurationUs, c.srcInUs, c.srcOutUs, c.speed, c.reverse,
                          c.fadeInUs, c.fadeOutUs, c.fadeCurve, c.speedCurve.timeTable);
    };
    EXPECT_EQ(timing(to), timing(from));
    EXPECT_EQ(to.name, "target");
}
