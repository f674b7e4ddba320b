// Uploads into the runtime: images as RGBA textures (owned or cached), framebuffers made from
// them, and decoded NV12 frames converted to RGBA in a shader.
#include "render/gl/GlRuntime.h"

#include "render/gl/GlShaders.h"

#include <QGenericMatrix>
#include <QOpenGLContext>
#include <QOpenGLExtraFunctions>
#include <QOpenGLShaderProgram>

namespace {

void setLinearClampParameters(QOpenGLExtraFunctions *gl)
{
    gl->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    gl->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    gl->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    gl->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
}

// One plane as a new texture without mipmaps; 0 on failure. rowPixels is the distance from one
// row to the next in pixels, 0 for tightly packed rows.
GLuint createPlaneTexture(QOpenGLExtraFunctions *gl, GLint internalFormat, GLenum format, int width,
                          int height, const void *pixels, int rowPixels = 0)
{
    GLuint texture = 0;
    gl->glGenTextures(1, &texture);
    if (!texture)
        return 0;
    gl->glBindTexture(GL_TEXTURE_2D, texture);
    setLinearClampParameters(gl);
    gl->glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    gl->glPixelStorei(GL_UNPACK_ROW_LENGTH, rowPixels);
    gl->glTexImage2D(GL_TEXTURE_2D, 0, internalFormat, width, height, 0, format, GL_UNSIGNED_BYTE, pixels);
    gl->glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
    gl->glBindTexture(GL_TEXTURE_2D, 0);
    return texture;
}

QImage toStraightRgba(const QImage &image)
{
    return image.convertToFormat(QImage::Format_RGBA8888);
}

} // namespace

GLuint GlRuntime::createRgbaTexture(const QImage &rgba)
{
    QOpenGLExtraFunctions *gl = m_context->extraFunctions();
    // An image made over someone else's buffer may have padding after each row; the upload
    // follows its bytes per line. A stride that is not a whole number of pixels is repacked.
    if (rgba.bytesPerLine() % 4 != 0) {
        const QImage packed = rgba.copy();
        if (packed.bytesPerLine() % 4 == 0)
            return createRgbaTexture(packed);
        return 0;
    }
    return createPlaneTexture(gl, GL_RGBA, GL_RGBA, rgba.width(), rgba.height(), rgba.constBits(),
                              int(rgba.bytesPerLine() / 4));
}

GLuint GlRuntime::uploadTexture(const QImage &image, bool flipVertically)
{
    if (!hasCurrentContext() || image.isNull())
        return 0;
    QImage rgba = toStraightRgba(image);
    if (flipVertically)
        rgba = rgba.mirrored(false, true);
    return createRgbaTexture(rgba);
}

GLuint GlRuntime::cachedImageTexture(const QImage &image)
{
    if (!hasCurrentContext() || image.isNull())
        return 0;
    // Keyed by the picture as handed in, before any conversion: cached text and scaled stills
    // come premultiplied, and a key taken after converting them would be new on every frame,
    // uploading the same picture again each time.
    const qint64 key = image.cacheKey();
    auto hit = m_imageTextureIndex.find(key);
    if (hit != m_imageTextureIndex.end()) {
        m_imageTextures.splice(m_imageTextures.begin(), m_imageTextures, hit.value());
        return m_imageTextures.front().texture;
    }
    const QImage rgba = toStraightRgba(image);
    const GLuint texture = createRgbaTexture(rgba);
    if (!texture)
        return 0;
    QOpenGLExtraFunctions *gl = m_context->extraFunctions();
    while (m_imageTextures.size() >= size_t(kImageTextureCapacity)) {
        const ImageTextureEntry &oldest = m_imageTextures.back();
        gl->glDeleteTextures(1, &oldest.texture);
        m_imageTextureIndex.remove(oldest.cacheKey);
        m_imageTextures.pop_back();
    }
    m_imageTextures.push_front({key, texture, rgba.width(), rgba.height()});
    m_imageTextureIndex.insert(key, m_imageTextures.begin());
    return texture;
}

orvel::GlFbo GlRuntime::imageTextureToFbo(GLuint texture, QSize imageSize)
{
    orvel::GlFbo fbo = acquireFbo(imageSize.width(), imageSize.height());
    if (!fbo.isValid())
        return {};
    if (!texture || !copyTextureToFbo(texture, fbo)) {
        releaseFbo(fbo);
        return {};
    }
    return fbo;
}

orvel::GlFbo GlRuntime::imageToFbo(const QImage &image, QSize size)
{
    if (!hasCurrentContext())
        return {};
    QImage rgba;
    if (image.isNull()) {
        rgba = QImage(size, QImage::Format_RGBA8888);
        rgba.fill(Qt::transparent);
    } else {
        rgba = toStraightRgba(image);
    }
    if (rgba.isNull())
        return {};
    const GLuint texture = createRgbaTexture(rgba);
    orvel::GlFbo fbo = imageTextureToFbo(texture, rgba.size());
    if (texture)
        m_context->extraFunctions()->glDeleteTextures(1, &texture);
    return fbo;
}

orvel::GlFbo GlRuntime::cachedImageToFbo(const QImage &image, QSize size)
{
    if (image.isNull())
        return imageToFbo(image, size);
    if (!hasCurrentContext())
        return {};
    return imageTextureToFbo(cachedImageTexture(image), image.size());
}

bool GlRuntime::copyTextureToFbo(GLuint texture, orvel::GlFbo &fbo)
{
    if (!hasCurrentContext() || !m_copyProgram || !m_copyProgram->isLinked() || !fbo.isValid())
        return false;
    QOpenGLExtraFunctions *gl = m_context->extraFunctions();
    fbo.fbo->bind();
    gl->glViewport(0, 0, fbo.fbo->width(), fbo.fbo->height());
    gl->glDisable(GL_BLEND);
    gl->glClearColor(0.0f, 0.0f, 0.0f, 0.0f);
    gl->glClear(GL_COLOR_BUFFER_BIT);
    m_copyProgram->bind();
    gl->glActiveTexture(GL_TEXTURE0);
    gl->glBindTexture(GL_TEXTURE_2D, texture);
    m_copyProgram->setUniformValue("u_currentTexture", 0);
    drawQuad();
    gl->glBindTexture(GL_TEXTURE_2D, 0);
    m_copyProgram->release();
    fbo.fbo->release();
    return true;
}

orvel::GlFbo GlRuntime::nv12ToFbo(const QByteArray &bytes, int width, int height,
                                  const orvel::VideoColour &colour)
{
    if (!hasCurrentContext() || width < 1 || height < 1 || width % 2 != 0 || height % 2 != 0)
        return {};
    const qint64 needed = qint64(width) * (height + height / 2);
    if (bytes.size() < needed)
        return {};
    orvel::GlFbo fbo = acquireFbo(width, height);
    if (!fbo.isValid())
        return {};
    QOpenGLShaderProgram *program =
        builtinProgram(QString::fromLatin1(orvel::kNv12ProgramName), orvel::kFullScreenVertexShader,
                       orvel::kNv12FragmentShader);
    if (!program) {
        releaseFbo(fbo);
        return {};
    }
    QOpenGLExtraFunctions *gl = m_context->extraFunctions();
    GLuint textures[2] = {0, 0};
    if (!uploadNv12Planes(bytes.constData(), width, height, textures)) {
        releaseFbo(fbo);
        return {};
    }

    // The quad covers every pixel without blending, so the framebuffer needs no clear first.
    fbo.fbo->bind();
    gl->glViewport(0, 0, width, height);
    gl->glDisable(GL_BLEND);
    program->bind();
    program->setUniformValue("u_y", 0);
    program->setUniformValue("u_uv", 1);
    program->setUniformValue("u_yuvMatrix", QMatrix3x3(orvel::yuvToRgbMatrix(colour.matrix).data()));
    program->setUniformValue("u_fullRange", colour.fullRange ? 1.0f : 0.0f);
    gl->glActiveTexture(GL_TEXTURE0);
    gl->glBindTexture(GL_TEXTURE_2D, textures[0]);
    gl->glActiveTexture(GL_TEXTURE1);
    gl->glBindTexture(GL_TEXTURE_2D, textures[1]);
    drawQuad();
    gl->glBindTexture(GL_TEXTURE_2D, 0);
    gl->glActiveTexture(GL_TEXTURE0);
    gl->glBindTexture(GL_TEXTURE_2D, 0);
    program->release();
    fbo.fbo->release();
    return fbo;
}

bool GlRuntime::uploadNv12Planes(const char *planes, int width, int height, GLuint *textures)
{
    QOpenGLExtraFunctions *gl = m_context->extraFunctions();
    // The textures outlive the frame: a new texture makes the driver allocate and zero fresh
    // memory for every decoded frame, which costs more than the copy of the pixels itself.
    Nv12PlaneSlot &slot = m_nv12Slots[size_t(m_nv12Next)];
    m_nv12Next = (m_nv12Next + 1) % kNv12PlaneSlotCount;
    const char *chroma = planes + qint64(width) * height;
    if (slot.width == width && slot.height == height && slot.textures[0] && slot.textures[1]) {
        gl->glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
        gl->glBindTexture(GL_TEXTURE_2D, slot.textures[0]);
        gl->glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, width, height, GL_RED, GL_UNSIGNED_BYTE, planes);
        gl->glBindTexture(GL_TEXTURE_2D, slot.textures[1]);
        gl->glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, width / 2, height / 2, GL_RG, GL_UNSIGNED_BYTE, chroma);
        gl->glBindTexture(GL_TEXTURE_2D, 0);
    } else {
        gl->glDeleteTextures(2, slot.textures);
        slot.width = width;
        slot.height = height;
        slot.textures[0] = createPlaneTexture(gl, GL_R8, GL_RED, width, height, planes);
        slot.textures[1] = createPlaneTexture(gl, GL_RG8, GL_RG, width / 2, height / 2, chroma);
        // Each chroma sample covers its two by two pixels as it is: interpolating would soften
        // every colour edge, and the export, which averages those pixels back into one sample,
        // would soften it again on every round trip.
        gl->glBindTexture(GL_TEXTURE_2D, slot.textures[1]);
        gl->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
        gl->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
        gl->glBindTexture(GL_TEXTURE_2D, 0);
    }
    if (!slot.textures[0] || !slot.textures[1]) {
        gl->glDeleteTextures(2, slot.textures);
        slot = {};
        return false;
    }
    textures[0] = slot.textures[0];
    textures[1] = slot.textures[1];
    return true;
}
