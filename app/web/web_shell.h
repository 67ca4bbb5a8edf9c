// The web shell's frame clock, for the page's entry. Internal to app/.
#pragma once
#include <cstdint>

// The clock TickNow() returns. It is latched: the entry sets it from performance.now()
// before a turn (or to virtual time), and each turn of the frame wait moves it on by a
// millisecond instead of waiting, so a frame ends 25 ms after its stamp on this clock.
void WebClockSet(uint32_t ms);
uint32_t WebClockNow();
