// The web shell: the latched clock, the page's key events as DirectInput scan codes,
// the message queue, the cursor and the screen's wake lock.
#include <emscripten.h>
#include <emscripten/html5.h>

#include <cstring>

#include "app/soft/soft_window.h"
#include "app/web/web_shell.h"
#include "platform/frame_clock.h"
#include "platform/keyboard.h"

static uint32_t gClock;

void WebClockSet(uint32_t ms) {
    gClock = ms;
}
uint32_t WebClockNow() {
    return gClock;
}
uint32_t TickNow() {
    return gClock;
}
void FrameClockSpin() {
    ++gClock;
}

int MessagePeek(AppMessage* msg) {
    return SoftMessageTake(msg);
}

EM_JS(void, WebCursorShow, (int show),
      { document.documentElement.style.cursor = show ? "" : "none"; });

// The page's stand-in for switching the screen saver off: a screen wake lock, where the
// browser offers one. The browser drops it whenever the page is hidden; it is asked for
// again each time the page comes back while the show runs.
EM_JS(void, WebWakeLock, (int hold), {
    if (!navigator.wakeLock) return;
    var wake = Module.invitroWake;
    if (!wake) {
        wake = Module.invitroWake = {wanted : false, lock : null};
        wake.request = function() {
            if (!wake.wanted || wake.lock || document.hidden) return;
            navigator.wakeLock.request("screen")
                .then(function(lock) {
                    wake.lock = lock;
                    lock.addEventListener(
                        "release", function() { wake.lock = null; });
                    if (!wake.wanted) lock.release();
                })
                .catch(function(){});
        };
        document.addEventListener("visibilitychange", wake.request);
    }
    wake.wanted = !!hold;
    if (hold) {
        wake.request();
    } else if (wake.lock) {
        wake.lock.release();
        wake.lock = null;
    }
});

// Full screen for the page's stage (the canvas with its black border), or back: the
// page's own toggle, which its touch control uses too.
EM_JS(void, WebFullscreenToggle, (), {
    if (Module.invitroFullscreen) Module.invitroFullscreen();
});

void ScreenSaverActivate(int active) {
    WebWakeLock(!active);
}
void CursorShow(int show) {
    WebCursorShow(show);
}

// KeyboardEvent.code names the key's place on the keyboard, as a scan code does.
struct KeyCodePair {
    const char* code;
    uint8_t dik;
};

static const KeyCodePair kKeyCodes[] = {
    {"Escape", 0x01},
    {"Minus", 0x0C},
    {"Equal", 0x0D},
    {"Backspace", 0x0E},
    {"Tab", 0x0F},
    {"BracketLeft", 0x1A},
    {"BracketRight", 0x1B},
    {"Enter", 0x1C},
    {"ControlLeft", 0x1D},
    {"Semicolon", 0x27},
    {"Quote", 0x28},
    {"Backquote", 0x29},
    {"ShiftLeft", 0x2A},
    {"Backslash", 0x2B},
    {"Comma", 0x33},
    {"Period", 0x34},
    {"Slash", 0x35},
    {"ShiftRight", 0x36},
    {"NumpadMultiply", 0x37},
    {"AltLeft", 0x38},
    {"Space", 0x39},
    {"CapsLock", 0x3A},
    {"NumLock", 0x45},
    {"ScrollLock", 0x46},
    {"Numpad7", 0x47},
    {"Numpad8", 0x48},
    {"Numpad9", 0x49},
    {"NumpadSubtract", 0x4A},
    {"Numpad4", 0x4B},
    {"Numpad5", 0x4C},
    {"Numpad6", 0x4D},
    {"NumpadAdd", 0x4E},
    {"Numpad1", 0x4F},
    {"Numpad2", 0x50},
    {"Numpad3", 0x51},
    {"Numpad0", 0x52},
    {"NumpadDecimal", 0x53},
    {"F11", 0x57},
    {"F12", 0x58},
    {"NumpadEnter", 0x9C},
    {"ControlRight", 0x9D},
    {"NumpadDivide", 0xB5},
    {"AltRight", 0xB8},
    {"Home", 0xC7},
    {"ArrowUp", 0xC8},
    {"PageUp", 0xC9},
    {"ArrowLeft", 0xCB},
    {"ArrowRight", 0xCD},
    {"End", 0xCF},
    {"ArrowDown", 0xD0},
    {"PageDown", 0xD1},
    {"Insert", 0xD2},
    {"Delete", 0xD3},
};

// Letters and digits by their rows, F1 to F10 in a run; the rest from the table.
static int ScanCodeOf(const char* code) {
    static const struct {
        const char* prefix;
        const char* keys;
        uint8_t first;
    } kRows[] = {{"Digit", "1234567890", 0x02},
                 {"Key", "QWERTYUIOP", 0x10},
                 {"Key", "ASDFGHJKL", 0x1E},
                 {"Key", "ZXCVBNM", 0x2C},
                 {"F", "123456789", 0x3B}};
    for (const auto& row : kRows) {
        const size_t n = std::strlen(row.prefix);
        if (std::strncmp(code, row.prefix, n) != 0 || !code[n] || code[n + 1]) continue;
        if (const char* at = std::strchr(row.keys, code[n])) return row.first + (at - row.keys);
    }
    if (std::strcmp(code, "F10") == 0) return 0x44;
    for (const KeyCodePair& pair : kKeyCodes)
        if (std::strcmp(code, pair.code) == 0) return pair.dik;
    return 0;
}

static uint8_t gPhysicalKeys[256];
// Keys pressed since the last read: a tap shorter than a frame is still seen once.
static uint8_t gPressed[256];
static uint8_t gKeyState[256];
static int gInput, gKeyboard;

static EM_BOOL OnKey(int type, const EmscriptenKeyboardEvent* event, void*) {
    const int dik = ScanCodeOf(event->code);
    const int down = type == EMSCRIPTEN_EVENT_KEYDOWN;
    if (dik) {
        gPhysicalKeys[dik] = down ? 0x80 : 0;
        if (down) gPressed[dik] = 0x80;
    }
    // The F key by its place (any layout) or by what it reads; with Ctrl, Alt or Cmd the
    // key stays the browser's (find, and the rest).
    const int plain = !event->ctrlKey && !event->altKey && !event->metaKey;
    const int fullscreen =
        plain && (std::strcmp(event->code, "KeyF") == 0 || std::strcmp(event->key, "f") == 0 ||
                  std::strcmp(event->key, "F") == 0);
    if (fullscreen && down && !event->repeat) WebFullscreenToggle();
    // Escape and F are the show's; every other key keeps its meaning in the browser.
    return dik == kDikEscape || fullscreen;
}

// The page's stop control: the show ends as if Escape had been pressed.
extern "C" EMSCRIPTEN_KEEPALIVE void WebStop() {
    gPressed[kDikEscape] = 0x80;
}

// Keys held while the page loses the focus never send their release.
static EM_BOOL OnBlur(int, const EmscriptenFocusEvent*, void*) {
    std::memset(gPhysicalKeys, 0, sizeof gPhysicalKeys);
    return EM_FALSE;
}

int InputCreate() {
    const char* target = EMSCRIPTEN_EVENT_TARGET_WINDOW;
    gInput =
        emscripten_set_keydown_callback(target, nullptr, 1, OnKey) == EMSCRIPTEN_RESULT_SUCCESS &&
        emscripten_set_keyup_callback(target, nullptr, 1, OnKey) == EMSCRIPTEN_RESULT_SUCCESS;
    emscripten_set_blur_callback(target, nullptr, 1, OnBlur);
    return gInput;
}

int KeyboardCreate() {
    gKeyboard = gInput;
    return gKeyboard;
}

int KeyboardRead() {
    if (!gKeyboard) {
        std::memset(gKeyState, 0, sizeof gKeyState);
        return 0;
    }
    for (int i = 0; i < 256; ++i) gKeyState[i] = gPhysicalKeys[i] | gPressed[i];
    std::memset(gPressed, 0, sizeof gPressed);
    return 1;
}

void KeyboardRelease() {
    if (!gKeyboard) return;
    const char* target = EMSCRIPTEN_EVENT_TARGET_WINDOW;
    emscripten_set_keydown_callback(target, nullptr, 1, nullptr);
    emscripten_set_keyup_callback(target, nullptr, 1, nullptr);
    emscripten_set_blur_callback(target, nullptr, 1, nullptr);
}
void InputRelease() {}
const uint8_t* KeyboardState() {
    return gKeyState;
}
// The page has one keyboard source: the scan-code byte.
int KeyboardEscapeAsync() {
    return 0;
}
