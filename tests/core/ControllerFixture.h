#pragma once

// Shared builders for the controller suites. Documents are assembled as plain values and loaded
// through the same JSON path a saved file takes, so every suite starts from what a user could open.
#include "core/controller/AppController.h"
#include "core/document/json/ProjectJson.h"
#include "media/assets/AssetLibrary.h"

#include <QJsonDocument>
#include <QUndoStack>

#include <gtest/gtest.h>

#include <initializer_list>
#include <utility>

namespace fixture {

using namespace orvel;

inline Clip makeClip(const QString &id, TimeUs startUs, TimeUs durationUs, ClipType type = ClipType::video,
                     TimeUs srcInUs = 0)
{
    Clip clip;
    clip.id = id;
    clip.name = id;
    clip.type = type;
    clip.timelineStartUs = startUs;
    clip.timelineDurationUs = durationUs;
    clip.srcInUs = srcInUs;
    clip.srcOutUs = srcInUs + durationUs;
    return clip;
}

// A clip of the 20 s file "vid" whose source starts 1 s in.
inline Clip mediaClip(const QString &id, TimeUs startUs, TimeUs durationUs, ClipType type = ClipType::video)
{
    Clip clip = makeClip(id, startUs, durationUs, type, 1000000);
    clip.assetId = QStringLiteral("vid");
    clip.path = QStringLiteral("/media/vid.mp4");
    return clip;
}

inline Clip linkedAudioOf(const Clip &video)
{
    Clip audio = video;
    audio.id = video.id + QStringLiteral("-audio");
    audio.type = ClipType::audio;
    return audio;
}

inline Track makeTrack(TrackType type, const QList<Clip> &clips = {})
{
    Track track;
    track.type = type;
    track.clips = clips;
    return track;
}

// A 20 s asset at /media/<id>; videos carry audio.
inline Asset makeAsset(const QString &id, AssetKind kind, int width = 1280, int height = 720)
{
    Asset asset;
    asset.id = id;
    asset.kind = kind;
    asset.name = id;
    asset.path = QStringLiteral("/media/") + id;
    asset.durationUs = 20000000;
    asset.width = width;
    asset.height = height;
    asset.fps = 25.0;
    asset.hasAudio = kind == AssetKind::video;
    asset.hasAudioKnown = true;
    return asset;
}

inline Project makeProject(const QList<Track> &tracks, const QList<Asset> &assets = {})
{
    Project project;
    project.tracks = tracks;
    for (const Asset &asset : assets)
        project.insertAsset(asset);
    return project;
}

inline AnimatedProperty keys(std::initializer_list<std::pair<TimeUs, double>> entries)
{
    AnimatedProperty property;
    for (const auto &[timeUs, value] : entries)
        property.keyframes.insert(timeUs, Keyframe{value});
    return property;
}

inline QVariantList selectionOf(std::initializer_list<std::pair<int, int>> clips)
{
    QVariantList list;
    for (const auto &[track, clip] : clips)
        list.append(QVariantMap{{"track", track}, {"clip", clip}});
    return list;
}

// Checks the named fields of a map QML reads; numbers compare by value whatever their type.
inline void expectFields(const QVariantMap &map, const QVariantMap &expected)
{
    for (auto it = expected.begin(); it != expected.end(); ++it)
        EXPECT_EQ(map.value(it.key()), it.value()) << "field " << it.key().toStdString();
}

// A controller over its own asset library, with the reads every suite makes.
class ControllerTest : public testing::Test
{
protected:
    void load(const Project &project)
    {
        ASSERT_TRUE(controller.loadProjectJson(QJsonDocument(projectToJson(project)).toJson()));
    }
    const Project &doc() const { return controller.project(); }
    const Clip &clip(int track, int index) const { return doc().tracks[track].clips[index]; }
    QByteArray documentJson() const { return QJsonDocument(projectToJson(doc())).toJson(); }
    QString undoText() { return controller.undoStack()->undoText(); }
    int entries() { return controller.undoStack()->count(); }
    // The newest undo entry's text and the message shown for it.
    void expectWords(const char *undo, const char *message)
    {
        EXPECT_EQ(undoText().toStdString(), undo);
        EXPECT_EQ(controller.lastMessage().toStdString(), message);
    }
    QStringList ids(int track) const
    {
        QStringList list;
        for (const Clip &clip : doc().tracks[track].clips)
            list.append(clip.id);
        return list;
    }
    QList<TimeUs> starts(int track) const
    {
        QList<TimeUs> list;
        for (const Clip &clip : doc().tracks[track].clips)
            list.append(clip.timelineStartUs);
        return list;
    }

    AssetLibrary library;
    AppController controller{&library};
};

} // namespace fixture
