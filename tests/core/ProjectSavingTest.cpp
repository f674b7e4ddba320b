// What a save takes along: the media entries with their roles and embed flags, the addons, and
// the path rewriting after an open.
#include "core/ProjectSaving.h"

#include "ControllerFixture.h"
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

using namespace fixture;

namespace {

QStringList describe(const QList<ProjectMediaEntry> &media)
{
    QStringList lines;
    for (const ProjectMediaEntry &entry : media)
        lines.append(
            QStringLiteral("%1 %2 %3").arg(entry.originalPath).arg(int(entry.role)).arg(entry.embed));
    return lines;
}

Project projectWithEveryPath()
{
    Asset asset = makeAsset("vid", AssetKind::video);
    asset.path = "/media/vid.mp4";
    Asset denoised = makeAsset("clean", AssetKind::audio);
    denoised.path = "/data/denoised/voice.flac";
    Clip video = mediaClip("v1", 0, 1000000);
    video.mask.mattePath = "/data/mattes/v1.mp4";
    video.faceTrackPath = "/data/facetracks/v1.json";
    Clip other = mediaClip("v2", 1000000, 1000000);
    other.path = "/media/other.mov";
    other.mask.mattePath = "/data/mattes/v1.mp4"; // once only
    Clip emoji = makeClip("e1", 0, 1000000, ClipType::image);
    emoji.path = "/data/emoji/1f600.png";
    emoji.emoji = "😀";
    Clip sticker = makeClip("s1", 0, 1000000, ClipType::image);
    sticker.path = "/data/emoji/not-an-emoji-clip.png";
    return makeProject(
        {makeTrack(TrackType::video, {video, other}), makeTrack(TrackType::video, {emoji, sticker})},
        {asset, denoised});
}

SaveGatherOptions options(bool embedAll, const QSet<QString> &embedded = {})
{
    SaveGatherOptions result;
    result.embedAll = embedAll;
    result.embeddedPaths = embedded;
    result.emojiDirectory = "/data/emoji";
    result.denoisedDirectory = "/data/denoised";
    return result;
}

TEST(ProjectSaveGather, MediaEntriesFollowTheirRoles)
{
    const Project project = projectWithEveryPath();
    const QJsonObject document{{"version", 3}};
    // Assets first, then clip sources, mattes, face tracks; emoji files never; mattes, face
    // tracks and denoised files always embedded.
    const QStringList working{"/media/vid.mp4 0 0", "/data/denoised/voice.flac 0 1", "/media/other.mov 0 1",
                              "/data/mattes/v1.mp4 1 1", "/data/facetracks/v1.json 2 1"};
    const ProjectSaveData data =
        gatherProjectSaveData(project, document, options(false, {"/media/other.mov"}));
    EXPECT_EQ(describe(data.media), working);
    EXPECT_EQ(data.document, document);
    EXPECT_EQ(std::tie(data.id, data.title, data.createdAt),
              std::tie(project.id, project.name, project.createdAt));

    QStringList shareable = working;
    shareable.replaceInStrings(" 0 0", " 0 1");
    EXPECT_EQ(describe(gatherProjectSaveData(project, document, options(true)).media), shareable);
}

TEST(ProjectSaveGather, AddonsEnterOnceWithTheirKinds)
{
    Project project = projectWithEveryPath();
    Clip title = makeClip("t1", 0, 1000000, ClipType::text);
    title.textStyle.fontFamily = "Brush";
    EffectInstance glow;
    glow.catalogId = "glow";
    title.effects = {glow};
    project.tracks.append(makeTrack(TrackType::text, {title}));
    Transition wipe;
    wipe.kind = "wipe";
    project.tracks[0].transitions = {wipe};

    SaveGatherOptions withAddons = options(false);
    withAddons.addons.provider = [](const QString &kind, const QString &thing) -> ProjectAddonRef {
        if ((kind == "fonts" && thing == "Brush") || (kind == "effects" && thing == "glow"))
            return {"pack.art", "1.0", "Art pack", {"ignored"}};
        if (kind == "transitions" && thing == "wipe")
            return {"pack.moves", "2.1", "Moves", {}};
        return {};
    };
    withAddons.addons.installedOfKind = [](const QString &kind) {
        return kind == "emoji-font" ? QList<ProjectAddonRef>{{"emoji.set", "3", "Emoji", {}}}
                                    : QList<ProjectAddonRef>{};
    };
    const QList<ProjectAddonRef> addons = gatherProjectSaveData(project, {}, withAddons).addons;
    ASSERT_EQ(addons.size(), 3);
    EXPECT_TRUE(addons[0] == (ProjectAddonRef{"pack.moves", "2.1", "Moves", {"transitions"}}));
    EXPECT_TRUE(addons[1] == (ProjectAddonRef{"pack.art", "1.0", "Art pack", {"effects", "fonts"}}))
        << addons[1].kinds.join(',').toStdString();
    EXPECT_TRUE(addons[2] == (ProjectAddonRef{"emoji.set", "3", "Emoji", {"emoji-font"}}));
}

TEST(ProjectSaveGather, PathsFollowUnpackedMediaAndStickers)
{
    Project project = projectWithEveryPath();
    project.asset("vid")->thumbnailPath = "/cache/vid.png";
    Asset sticker = makeAsset("star", AssetKind::image);
    sticker.path = ":/qt/qml/Orvel/resources/stickers/shapes/star.png";
    project.insertAsset(sticker);
    rewriteProjectPaths(project, {{"/media/vid.mp4", "/unpacked/vid.mp4"},
                                  {"/data/mattes/v1.mp4", "/unpacked/v1.mp4"},
                                  {"/data/facetracks/v1.json", "/unpacked/v1.json"}});
    EXPECT_EQ(project.asset("vid")->path, "/unpacked/vid.mp4");
    EXPECT_TRUE(project.asset("vid")->thumbnailPath.isEmpty());
    const Clip &video = project.tracks[0].clips[0];
    EXPECT_EQ(QStringList({video.path, video.mask.mattePath, video.faceTrackPath}),
              QStringList({"/unpacked/vid.mp4", "/unpacked/v1.mp4", "/unpacked/v1.json"}));
    EXPECT_EQ(project.tracks[0].clips[1].mask.mattePath, "/unpacked/v1.mp4");
    EXPECT_EQ(project.tracks[0].clips[1].path, "/media/other.mov");

    QTemporaryDir packs;
    QDir().mkpath(packs.filePath("second/shapes"));
    QFile(packs.filePath("second/shapes/star.png")).open(QIODevice::WriteOnly);
    relocateBuiltInStickers(project, {packs.filePath("first"), packs.filePath("second")});
    EXPECT_EQ(project.asset("star")->path, packs.filePath("second/shapes/star.png"));
}

} // namespace
