#include "render/gl/GlFbo.h"

#include <QOpenGLContext>

namespace orvel {

GlFbo makeGlFbo(int width, int height)
{
    GlFbo result;
    if (width < 1 || height < 1 || !QOpenGLContext::currentContext())
        return result;
    QOpenGLFramebufferObjectFormat format;
    format.setAttachment(QOpenGLFramebufferObject::NoAttachment);
    auto fbo = std::make_unique<QOpenGLFramebufferObject>(width, height, format);
    if (!fbo->isValid())
        return result;
    result.fbo = std::move(fbo);
    result.width = width;
    result.height = height;
    return result;
}

} // namespace orvel
