#include "playback/PreviewItem.h"

#include <QQuickWindow>
#include <QSGSimpleTextureNode>
#include <QSGTexture>

namespace orvel {

QRectF letterboxRect(const QRectF &bounds, const QSize &textureSize)
{
    if (textureSize.isEmpty() || bounds.isEmpty())
        return {};
    const double scale =
        std::min(bounds.width() / textureSize.width(), bounds.height() / textureSize.height());
    const double width = textureSize.width() * scale;
    const double height = textureSize.height() * scale;
    return QRectF(bounds.x() + (bounds.width() - width) / 2.0, bounds.y() + (bounds.height() - height) / 2.0,
                  width, height);
}

} // namespace orvel

PreviewItem::PreviewItem(QQuickItem *parent) : QQuickItem(parent)
{
    setFlag(ItemHasContents, true);
}

void PreviewItem::setTextureId(quint32 textureId)
{
    if (m_textureId == textureId)
        return;
    m_textureId = textureId;
    emit frameChanged();
    update();
}

void PreviewItem::setTextureSize(const QSize &size)
{
    if (m_textureSize == size)
        return;
    m_textureSize = size;
    emit frameChanged();
    update();
}

QSGNode *PreviewItem::updatePaintNode(QSGNode *oldNode, UpdatePaintNodeData *)
{
    auto *node = static_cast<QSGSimpleTextureNode *>(oldNode);
    QQuickWindow *win = window();
    if (m_textureId == 0 || m_textureSize.isEmpty() || !win || boundingRect().isEmpty()) {
        delete node;
        m_nodeTextureId = 0;
        m_nodeTextureSize = QSize();
        return nullptr;
    }
    if (!node)
        node = new QSGSimpleTextureNode();
    if (!node->texture() || m_nodeTextureId != m_textureId || m_nodeTextureSize != m_textureSize) {
        QSGTexture *texture =
            QNativeInterface::QSGOpenGLTexture::fromNative(m_textureId, win, m_textureSize, {});
        if (!texture) {
            delete node;
            m_nodeTextureId = 0;
            m_nodeTextureSize = QSize();
            return nullptr;
        }
        node->setTexture(texture);
        node->setOwnsTexture(true); // owns the wrapper, never the GL name
        node->setFiltering(QSGTexture::Linear);
        m_nodeTextureId = m_textureId;
        m_nodeTextureSize = m_textureSize;
    }
    // No y-flip: the compositor already delivers row 0 at the top.
    node->setRect(orvel::letterboxRect(boundingRect(), m_textureSize));
    return node;
}
