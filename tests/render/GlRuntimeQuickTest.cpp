// The runtime's context really shares with Qt Quick's: a texture drawn on the GL thread is
// sampled by the scene graph of a window, with no copy, and shows the right way up.
#include "GlRuntimeTestSupport.h"

#include <QQuickItem>
#include <QQuickWindow>
#include <QSGRendererInterface>
#include <QSGSimpleTextureNode>
#include <QSGTexture>
#include <QTest>

namespace {

using orvel::test::GlRuntimeTest;

// Shows one GL texture by name, as the preview item does.
class NativeTextureItem : public QQuickItem
{
public:
    NativeTextureItem(orvel::GpuFrameTexture frame, QQuickItem *parent) : QQuickItem(parent), m_frame(frame)
    {
        setFlag(ItemHasContents, true);
    }

protected:
    QSGNode *updatePaintNode(QSGNode *oldNode, UpdatePaintNodeData *) override
    {
        auto *node = static_cast<QSGSimpleTextureNode *>(oldNode);
        if (!node) {
            node = new QSGSimpleTextureNode;
            node->setTexture(
                QNativeInterface::QSGOpenGLTexture::fromNative(m_frame.textureId, window(), m_frame.size));
            node->setOwnsTexture(true);
        }
        node->setRect(boundingRect());
        return node;
    }

private:
    orvel::GpuFrameTexture m_frame;
};

TEST_F(GlRuntimeTest, TextureFromTheGlThreadIsSampledByAQtQuickWindow)
{
    // Top half red, bottom half blue, drawn into a presentation slot and published.
    QImage picture(64, 64, QImage::Format_RGBA8888);
    picture.fill(Qt::blue);
    for (int y = 0; y < 32; ++y)
        for (int x = 0; x < 64; ++x)
            picture.setPixelColor(x, y, Qt::red);
    orvel::GpuFrameTexture frame;
    onGl([&] {
        orvel::GlFbo source = gl().imageToFbo(picture, {});
        orvel::GlFbo &slot = gl().acquirePresentTarget(64, 64);
        ASSERT_TRUE(gl().copyTextureToFbo(source.texture(), slot));
        gl().releaseFbo(source);
        gl().publishPresentTarget(slot);
        frame = {slot.texture(), slot.fbo->size()};
    });
    ASSERT_FALSE(frame.isNull());

    QQuickWindow window;
    window.resize(64, 64);
    auto *item = new NativeTextureItem(frame, window.contentItem());
    item->setSize(QSizeF(64, 64));
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    ASSERT_EQ(window.rendererInterface()->graphicsApi(), QSGRendererInterface::OpenGL);

    const QImage grabbed = window.grabWindow();
    ASSERT_FALSE(grabbed.isNull());
    const QImage shown = grabbed.scaled(64, 64);
    EXPECT_EQ(shown.pixelColor(32, 8), QColor(Qt::red));
    EXPECT_EQ(shown.pixelColor(32, 56), QColor(Qt::blue));
}

} // namespace
