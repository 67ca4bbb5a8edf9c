// The Escape test over both key sources.
#include "platform/keyboard.h"

int KeyboardEscapeDown() {
    // Either source will do, so Escape works even without a keyboard device; the
    // scan-code byte counts when any bit of it is set.
    return KeyboardEscapeAsync() != 0 || KeyboardState()[kDikEscape] != 0;
}
