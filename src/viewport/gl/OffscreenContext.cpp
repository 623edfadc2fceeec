#include "gl/OffscreenContext.h"

#include <epoxy/egl.h>
#include <epoxy/gl.h>

#include <dlfcn.h>

#include <cstring>
#include <vector>

namespace vistrel::viewport {

namespace {

bool hasExtension(const char* list, const char* name) {
    if (!list) return false;
    const size_t n = std::strlen(name);
    for (const char* p = list; (p = std::strstr(p, name)); p += n)
        if ((p == list || p[-1] == ' ') && (p[n] == ' ' || p[n] == '\0')) return true;
    return false;
}

struct Attempt {
    EGLDisplay display = EGL_NO_DISPLAY;
    const char* name = "";
    bool needsSurface = false;
};

EGLContext makeContext(EGLDisplay display, bool pbuffer, EGLConfig& config) {
    const EGLint configAttribs[] = {EGL_SURFACE_TYPE,
                                    pbuffer ? EGL_PBUFFER_BIT : 0,
                                    EGL_RENDERABLE_TYPE,
                                    EGL_OPENGL_BIT,
                                    EGL_RED_SIZE,
                                    8,
                                    EGL_GREEN_SIZE,
                                    8,
                                    EGL_BLUE_SIZE,
                                    8,
                                    EGL_NONE};
    EGLint count = 0;
    if (!eglChooseConfig(display, configAttribs, &config, 1, &count) || count < 1) config = nullptr;
    if (!eglBindAPI(EGL_OPENGL_API)) return EGL_NO_CONTEXT;
    const EGLint contextAttribs[] = {EGL_CONTEXT_MAJOR_VERSION,
                                     3,
                                     EGL_CONTEXT_MINOR_VERSION,
                                     3,
                                     EGL_CONTEXT_OPENGL_PROFILE_MASK,
                                     EGL_CONTEXT_OPENGL_CORE_PROFILE_BIT,
                                     EGL_NONE};
    if (!config && pbuffer) return EGL_NO_CONTEXT;
    return eglCreateContext(display, config, EGL_NO_CONTEXT, contextAttribs);
}

}  // namespace

std::unique_ptr<OffscreenContext> OffscreenContext::create(std::string& error) {
    // libepoxy aborts the process when it cannot load EGL; ask first, so that a machine without
    // it gets a message.
    static void* const egl = dlopen("libEGL.so.1", RTLD_LAZY | RTLD_LOCAL);  // kept loaded
    if (!egl) {
        error = "libEGL.so.1 cannot be loaded";
        return nullptr;
    }
    const char* clientExtensions = eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS);
    std::vector<Attempt> attempts;
    if (hasExtension(clientExtensions, "EGL_MESA_platform_surfaceless") &&
        hasExtension(clientExtensions, "EGL_EXT_platform_base"))
        attempts.push_back(
            {eglGetPlatformDisplayEXT(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr),
             "surfaceless", false});
    if (hasExtension(clientExtensions, "EGL_EXT_device_enumeration") &&
        hasExtension(clientExtensions, "EGL_EXT_platform_device")) {
        EGLDeviceEXT devices[8];
        EGLint count = 0;
        if (eglQueryDevicesEXT(8, devices, &count) && count > 0)
            attempts.push_back(
                {eglGetPlatformDisplayEXT(EGL_PLATFORM_DEVICE_EXT, devices[0], nullptr), "device",
                 false});
    }
    attempts.push_back({eglGetDisplay(EGL_DEFAULT_DISPLAY), "default display", true});

    std::string tried;
    for (const Attempt& a : attempts) {
        if (!tried.empty()) tried += ", ";
        tried += a.name;
        if (a.display == EGL_NO_DISPLAY) continue;
        EGLint major = 0, minor = 0;
        if (!eglInitialize(a.display, &major, &minor)) continue;
        EGLConfig config = nullptr;
        EGLContext context = makeContext(a.display, a.needsSurface, config);
        if (context == EGL_NO_CONTEXT) continue;
        EGLSurface surface = EGL_NO_SURFACE;
        if (a.needsSurface) {
            const EGLint pbufferAttribs[] = {EGL_WIDTH, 16, EGL_HEIGHT, 16, EGL_NONE};
            surface = eglCreatePbufferSurface(a.display, config, pbufferAttribs);
            if (surface == EGL_NO_SURFACE) {
                eglDestroyContext(a.display, context);
                continue;
            }
        }
        if (!eglMakeCurrent(a.display, surface, surface, context)) {
            if (surface != EGL_NO_SURFACE) eglDestroySurface(a.display, surface);
            eglDestroyContext(a.display, context);
            continue;
        }
        std::unique_ptr<OffscreenContext> c(new OffscreenContext);
        c->display_ = a.display;
        c->context_ = context;
        c->surface_ = surface;
        c->platform_ = a.name;
        if (const GLubyte* r = glGetString(GL_RENDERER))
            c->renderer_ = reinterpret_cast<const char*>(r);
        if (epoxy_gl_version() < 33) {
            error = "OpenGL 3.3 core is not available (" + c->renderer_ + ")";
            return nullptr;  // the destructor releases the context
        }
        return c;
    }
    error = "no EGL context could be created (tried " + tried + ")";
    return nullptr;
}

OffscreenContext::~OffscreenContext() {
    if (!display_) return;
    // The display is not terminated: EGL hands the same display to every context of a platform,
    // and terminating it would pull the ground from under another live context.
    eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    if (surface_) eglDestroySurface(display_, surface_);
    if (context_) eglDestroyContext(display_, context_);
}

bool OffscreenContext::makeCurrent() {
    return eglMakeCurrent(display_, surface_, surface_, context_) == EGL_TRUE;
}

}  // namespace vistrel::viewport
