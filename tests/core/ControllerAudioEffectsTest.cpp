// The audio effect browser and the audio inspector, read from the packages shipped beside this
// program as the editor finds them.
#include "ControllerFixture.h"

using namespace fixture;

class ControllerAudioEffects : public ControllerTest
{
protected:
    void SetUp() override
    {
        load(makeProject({makeTrack(TrackType::audio, {mediaClip("a", 0, 4000000, ClipType::audio)}),
                          makeTrack(TrackType::text, {makeClip("t", 0, 2000000, ClipType::text)})}));
    }
};

TEST_F(ControllerAudioEffects, BrowserListsEveryShippedEffectUnderItsCategory)
{
    const QVariantList catalog = controller.audioEffectCatalog();
    ASSERT_EQ(catalog.size(), 26);
    QVariantMap echo;
    for (const QVariant &entry : catalog) {
        if (entry.toMap().value("id") == "echo")
            echo = entry.toMap();
    }
    expectFields(echo, {{"label", "Echo"}, {"category", "space"}, {"categoryLabel", "Space"}});
    const QVariantMap delay = echo.value("params").toList().value(0).toMap();
    expectFields(delay, {{"key", "delay"}, {"min", 1.0}, {"max", 1000.0}, {"isBoolean", false}});

    QStringList categories;
    for (const QVariant &entry : controller.audioEffectCategories())
        categories.append(entry.toMap().value("label").toString());
    EXPECT_EQ(categories, (QStringList{"Voice", "Transmission", "Texture", "Space"}));
}

TEST_F(ControllerAudioEffects, AddShowsPackageParametersAndRemoveUndoes)
{
    controller.addAudioEffect(1, 0, QStringLiteral("echo"));   // a text clip has no sound
    controller.addAudioEffect(0, 0, QStringLiteral("reverb")); // not installed
    EXPECT_EQ(entries(), 0);

    controller.addAudioEffect(0, 0, QStringLiteral("echo"));
    expectWords("Add audio effect", "Audio effect added");
    ASSERT_EQ(clip(0, 0).audioEffects.size(), 1);
    EXPECT_EQ(clip(0, 0).audioEffects[0].catalogId, QStringLiteral("echo"));

    controller.selectClip(0, 0);
    controller.setAudioEffectCatalogLookup([](const QString &id) { return id == QLatin1String("echo"); });
    controller.previewSetAudioEffectParam(0, 0, 0, QStringLiteral("decay"), 0.9);
    controller.commitPreviewDrag();
    const QVariantMap row = controller.selectedClipAudioEffects().value(0).toMap();
    expectFields(row, {{"label", "Echo"}, {"catalogId", "echo"}, {"missing", false}});
    const QVariantList params = row.value("params").toList();
    ASSERT_EQ(params.size(), 4);
    expectFields(params[0].toMap(), {{"id", "delay"}, {"label", "Delay (ms)"}, {"value", 250.0}});
    expectFields(params[1].toMap(), {{"id", "decay"}, {"value", 0.9}});

    controller.removeAudioEffect(0, 0, 3);
    EXPECT_EQ(clip(0, 0).audioEffects.size(), 1);
    controller.removeAudioEffect(0, 0, 0);
    expectWords("Remove audio effect", "Audio effect removed");
    EXPECT_TRUE(clip(0, 0).audioEffects.isEmpty());
    controller.undo();
    ASSERT_EQ(clip(0, 0).audioEffects.size(), 1);
    EXPECT_EQ(clip(0, 0).audioEffects[0].parameters.value("decay").toDouble(), 0.9);
}
