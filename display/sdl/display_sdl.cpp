// The Linux screen: a full-screen-desktop window (where something makes it so) with a
// 640 x 480 logical screen; each frame is uploaded into a streaming texture and drawn
// into its 639 x 479 top-left.
#include <SDL.h>
#include <SDL_syswm.h>

#include "display/sdl/sdl_screen.h"
#include "display/soft/soft_backend.h"
#include "platform/window.h"

static SDL_Renderer* gRenderer;
static SDL_Texture* gTexture;
static int32_t gWidth, gHeight;

int SdlScreenOpen(SDL_Window* window) {
    if (gRenderer) return 1;
    SDL_SetHint(SDL_HINT_RENDER_SCALE_QUALITY, "nearest");
    // No vsync: the frame clock paces the show.
    gRenderer = SDL_CreateRenderer(window, -1, 0);
    return gRenderer != nullptr;
}

#if defined(SDL_VIDEO_DRIVER_X11)
static int gXError;
static int XErrorNote(Display*, XErrorEvent*) {
    gXError = 1;
    return 0;
}

// Reads up to `most` 32-bit items of an X window's property; returns how many it read.
static unsigned long XPropertyRead(Display* display, Window window, const char* name, Atom type,
                                   unsigned long* items, long most) {
    Atom actual;
    int format;
    unsigned long count = 0, after;
    unsigned char* data = nullptr;
    if (XGetWindowProperty(display, window, XInternAtom(display, name, False), 0, most, False, type,
                           &actual, &format, &count, &after, &data) != Success ||
        actual != type || format != 32)
        count = 0;
    for (unsigned long i = 0; i < count; ++i) items[i] = reinterpret_cast<unsigned long*>(data)[i];
    if (data) XFree(data);
    return count;
}

// Whether a running window manager takes full-screen requests (it names its check
// window on the root and on that window itself, and lists the full-screen state).
static int XWindowManagerSizesFullScreen(Display* display) {
    const Window root = DefaultRootWindow(display);
    unsigned long check = 0, self = 0;
    if (!XPropertyRead(display, root, "_NET_SUPPORTING_WM_CHECK", XA_WINDOW, &check, 1)) return 0;
    // A window manager that has gone leaves the root's property behind and its check
    // window with it, or another window under the same number.
    XSync(display, False);
    gXError = 0;
    int (*previous)(Display*, XErrorEvent*) = XSetErrorHandler(XErrorNote);
    XPropertyRead(display, check, "_NET_SUPPORTING_WM_CHECK", XA_WINDOW, &self, 1);
    XSync(display, False);
    XSetErrorHandler(previous);
    if (gXError || self != check) return 0;
    unsigned long supported[512];
    const unsigned long count =
        XPropertyRead(display, root, "_NET_SUPPORTED", XA_ATOM, supported, 512);
    const Atom fullScreen = XInternAtom(display, "_NET_WM_STATE_FULLSCREEN", False);
    for (unsigned long i = 0; i < count; ++i)
        if (supported[i] == fullScreen) return 1;
    return 0;
}
#endif

// Whether something will size a full-screen window to the screen: on X11 only a window
// manager does; without one SDL would draw for the whole screen into a window that
// stays 640 x 480 and shows a corner of it. Wayland compositors and the console always do.
static int FullScreenHonoured(SDL_Window* window) {
#if defined(SDL_VIDEO_DRIVER_X11)
    SDL_SysWMinfo info;
    SDL_VERSION(&info.version);
    if (SDL_GetWindowWMInfo(window, &info) && info.subsystem == SDL_SYSWM_X11)
        return XWindowManagerSizesFullScreen(info.info.x11.display);
#endif
    (void)window;
    return 1;
}

int SoftBackendInit(int32_t width, int32_t height, int32_t windowed, uint32_t* primaryBitCount) {
    SDL_Window* window = static_cast<SDL_Window*>(WindowHandle());
    if (!window || !SdlScreenOpen(window)) return 0;
    // Without anyone to make it full screen, the window keeps the size of the picture.
    if (!windowed && FullScreenHonoured(window) &&
        SDL_SetWindowFullscreen(window, SDL_WINDOW_FULLSCREEN_DESKTOP) != 0)
        return 0;
    if (SDL_RenderSetLogicalSize(gRenderer, width, height) != 0) return 0;
    // The primary here is our own 5.6.5 texture, not the X screen: the rasterizers and
    // the lighting write 5.6.5, SDL converts when presenting, and the packer follows the
    // texture, so a 15-bit X screen gets 5.6.5 too.
    gTexture = SDL_CreateTexture(gRenderer, SDL_PIXELFORMAT_RGB565, SDL_TEXTUREACCESS_STREAMING,
                                 width, height);
    if (!gTexture) return 0;
    gWidth = width;
    gHeight = height;
    *primaryBitCount = 16;
    SDL_SetRenderDrawColor(gRenderer, 0, 0, 0, 255);
    SDL_RenderClear(gRenderer);
    SDL_RenderPresent(gRenderer);
    return 1;
}

int SoftBackendPresent(const Surface* back) {
    if (!gTexture) return 0;
    if (SDL_UpdateTexture(gTexture, nullptr, back->pixels, back->pitch) != 0) return 0;
    SDL_RenderClear(gRenderer);
    // Right and bottom exclusive: 639 x 479, the frame's deliberate one-pixel shrink.
    const SDL_Rect destination = {0, 0, gWidth - 1, gHeight - 1};
    if (SDL_RenderCopy(gRenderer, gTexture, nullptr, &destination) != 0) return 0;
    SDL_RenderPresent(gRenderer);
    return 1;
}

void SoftBackendRelease() {
    if (gTexture) SDL_DestroyTexture(gTexture);
    if (gRenderer) SDL_DestroyRenderer(gRenderer);
    gTexture = nullptr;
    gRenderer = nullptr;
}
