#pragma once

#include <QQuickItem>
#include <QRectF>
#include <QSize>

namespace orvel {
// The largest rectangle of the texture's aspect that fits the bounds, centred (a letterbox).
QRectF letterboxRect(const QRectF &bounds, const QSize &textureSize);
} // namespace orvel

// Shows the composited timeline frame straight from a GL texture made on the compositor's
// thread, which shares its context with Qt Quick, so no pixels are copied.
class PreviewItem : public QQuickItem
{
    Q_OBJECT
    Q_PROPERTY(quint32 textureId READ textureId WRITE setTextureId NOTIFY frameChanged)
    Q_PROPERTY(QSize textureSize READ textureSize WRITE setTextureSize NOTIFY frameChanged)

public:
    explicit PreviewItem(QQuickItem *parent = nullptr);

    quint32 textureId() const { return m_textureId; }
    QSize textureSize() const { return m_textureSize; }
    void setTextureId(quint32 textureId);
    void setTextureSize(const QSize &size);

signals:
    void frameChanged();

protected:
    QSGNode *updatePaintNode(QSGNode *oldNode, UpdatePaintNodeData *data) override;

private:
    quint32 m_textureId = 0;
    QSize m_textureSize;
    // What the current node's texture wrapper was built from, to rebuild it only on change.
    quint32 m_nodeTextureId = 0;
    QSize m_nodeTextureSize;
};
