#include <ZpQtCoreLite/ZpCoreImageHardwareInfo.h>

#include <QGuiApplication>
#include <QMutex>
#include <QMutexLocker>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFunctions>
#include <QStringList>
#include <QSurfaceFormat>
#include <QThread>

#include <optional>

namespace {

struct GlFacts
{
    QString vendor;
    QString renderer;
    QString version;
    QString versionEx;
    QString shadingLanguageVersion;
    int32_t maxTextureSize = 0;
};

QString glString(QOpenGLFunctions* gl, GLenum name)
{
    const GLubyte* text = gl->glGetString(name);
    return text ? QString::fromUtf8(reinterpret_cast<const char*>(text)) : QString();
}

QString describeContext(const QSurfaceFormat& format)
{
    QStringList parts;
    const bool es = format.renderableType() == QSurfaceFormat::OpenGLES;
    parts << QStringLiteral("%1 %2.%3")
                 .arg(es ? QStringLiteral("OpenGL ES") : QStringLiteral("OpenGL"))
                 .arg(format.majorVersion())
                 .arg(format.minorVersion());
    switch (format.profile()) {
    case QSurfaceFormat::CoreProfile: parts << QStringLiteral("core profile"); break;
    case QSurfaceFormat::CompatibilityProfile: parts << QStringLiteral("compatibility profile"); break;
    case QSurfaceFormat::NoProfile: parts << QStringLiteral("no profile"); break;
    }
    if (format.testOption(QSurfaceFormat::DebugContext))
        parts << QStringLiteral("debug");
    if (format.testOption(QSurfaceFormat::DeprecatedFunctions))
        parts << QStringLiteral("deprecated functions");
    if (format.testOption(QSurfaceFormat::ResetNotification))
        parts << QStringLiteral("reset notification");
    return parts.join(QStringLiteral(", "));
}

// REQUIRES: on the GUI thread of a QGuiApplication.
std::optional<GlFacts> probe()
{
    QOpenGLContext context;
    if (!context.create())
        return std::nullopt;
    QOffscreenSurface surface;
    surface.setFormat(context.format());
    surface.create();
    if (!surface.isValid())
        return std::nullopt;

    // The host may have its own context current on this thread; give it back.
    QOpenGLContext* previous = QOpenGLContext::currentContext();
    QSurface* previousSurface = previous ? previous->surface() : nullptr;
    if (!context.makeCurrent(&surface))
        return std::nullopt;

    QOpenGLFunctions* gl = context.functions();
    GlFacts facts;
    facts.vendor = glString(gl, GL_VENDOR);
    facts.renderer = glString(gl, GL_RENDERER);
    facts.version = glString(gl, GL_VERSION);
    facts.shadingLanguageVersion = glString(gl, GL_SHADING_LANGUAGE_VERSION);
    GLint maxTextureSize = 0;
    gl->glGetIntegerv(GL_MAX_TEXTURE_SIZE, &maxTextureSize);
    facts.maxTextureSize = maxTextureSize;
    facts.versionEx = QStringLiteral("%1 [%2]").arg(facts.version, describeContext(context.format()));

    context.doneCurrent();
    if (previous && previousSurface)
        previous->makeCurrent(previousSurface);

    // A context that answers nothing is as good as none.
    if (facts.vendor.isEmpty() || facts.version.isEmpty() || facts.maxTextureSize <= 0)
        return std::nullopt;
    return facts;
}

// The kept answer, shared by all threads. REQUIRES: mutex held.
QMutex gMutex;
std::optional<GlFacts> gFacts;

GlFacts facts()
{
    QMutexLocker lock(&gMutex);
    const auto* app = qobject_cast<QGuiApplication*>(QCoreApplication::instance()); // may be a QCoreApplication
    if (!gFacts && app && QThread::currentThread() == app->thread())
        gFacts = probe();
    return gFacts.value_or(GlFacts{});
}

} // namespace

QString ZpCoreImageHardwareInfo::openGLVendor()
{
    return facts().vendor;
}

QString ZpCoreImageHardwareInfo::openGLRenderer()
{
    return facts().renderer;
}

QString ZpCoreImageHardwareInfo::openGLVersion()
{
    return facts().version;
}

QString ZpCoreImageHardwareInfo::openGLVersionEx()
{
    return facts().versionEx;
}

QString ZpCoreImageHardwareInfo::openGLShadingLanguageVersion()
{
    return facts().shadingLanguageVersion;
}

int32_t ZpCoreImageHardwareInfo::openGLMaxTextureSize()
{
    return facts().maxTextureSize;
}
