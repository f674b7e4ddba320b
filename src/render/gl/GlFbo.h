#pragma once

#include <QOpenGLFramebufferObject>

#include <cstdint>
#include <memory>

namespace orvel {

// A framebuffer on its way between GL-thread functions. Moving it moves the ownership; a null
// `fbo` means failure or nothing. Only ever created, moved and destroyed inside a GL job, since
// deleting the framebuffer needs the GL context current.
struct GlFbo
{
    std::unique_ptr<QOpenGLFramebufferObject> fbo;
    int32_t width = 0;
    int32_t height = 0;

    bool isValid() const { return fbo && fbo->isValid(); }
    // The colour texture's GL name, 0 when there is no framebuffer.
    GLuint texture() const { return fbo ? fbo->texture() : 0; }
    void reset()
    {
        fbo.reset();
        width = 0;
        height = 0;
    }
};

// A new framebuffer of exactly width x height with one RGBA8 colour texture and no depth or
// stencil. Needs a current context; null on failure.
GlFbo makeGlFbo(int width, int height);

} // namespace orvel
