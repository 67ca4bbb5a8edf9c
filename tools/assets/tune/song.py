"""The composition: "Korvane'06 invitro", A minor, speed 4 / BPM 125 throughout.

A row is a 32nd note of a 93.75 BPM bar (or a 16th at the 187.5 BPM that the drums
half-time against); a bar is 32 rows, a pattern two bars. Sections are written as
bars on a canvas, cut into 64-row patterns, and identical patterns are stored once.

  orders 0-1   intro I     Am F C G        pads swell in, the pluck "opens" (sample offset)
  orders 2-3   intro II    Am F C G        drums and bass enter        <- restart position
  orders 4-7   theme A     Am F C G Am F Dm E   lead melody
  orders 8-11  theme A2    same, with echo and bell answers
  orders 12-15 contrast B  Fmaj7 G Em7 Am Fmaj7 G Esus4 E   swung drums, chip arpeggios
  orders 16-19 breakdown   Dm Am Bb E, twice; build-up, cut short by a pattern break
  orders 20-23 return A'   theme an octave up
  orders 24-27 theme A2    again, ending on E, which leads back to the restart
"""

from xmfile import NOTE_OFF

ROWS_PER_BAR = 32
BARS_PER_PATTERN = 2
PATTERN_ROWS = ROWS_PER_BAR * BARS_PER_PATTERN

# Channels.
KICK, SNARE, HAT, FX, BASS, LEAD, ECHO, ARP, PAD1, PAD2, PAD3, BELL = range(12)
CHANNELS = 12

# The mixing desk: a gain per channel for every volume the patterns set (volume column
# and set-volume effect), limited to 64. Notes without a volume play at the sample's own
# default volume, which instruments.py sets to the same balance.
CHANNEL_GAIN = {KICK: 1.0, SNARE: 1.1, HAT: 1.6, FX: 1.35, BASS: 1.0, LEAD: 1.4, ECHO: 1.4,
                ARP: 1.6, PAD1: 1.15, PAD2: 1.15, PAD3: 1.15, BELL: 1.0}

# Instruments (1-based, as in the patterns).
I_KICK, I_SNARE, I_CHAT, I_OHAT, I_BASS, I_LEAD, I_PAD, I_PLUCK, I_BELL, I_CRASH = range(1, 11)

# Effect types as stored.
ARPEGGIO, PORTA_UP, PORTA_DOWN, TONE_PORTA, VIBRATO = 0, 1, 2, 3, 4
SET_PAN, OFFSET, VOLSLIDE, SET_VOL, BREAK, EXT, PAN_SLIDE, MULTI_RETRIG = 8, 9, 10, 12, 13, 14, 25, 27


# Extended (E) commands: ext(E_CUT, 3) is EC3.
E_FINE_UP, E_FINE_DOWN, E_RETRIG, E_CUT, E_DELAY = 0xA, 0xB, 0x9, 0xC, 0xD


def ext(sub, y):
    return (EXT, (sub << 4) | y)


# Volume column: vol(v) sets the volume (0..64); the others are a command base plus a
# nibble, e.g. V_SLIDE_DOWN + 6.
V_SLIDE_DOWN, V_SLIDE_UP, V_VIB_DEPTH, V_PAN, V_PORTA = 0x60, 0x70, 0xB0, 0xC0, 0xF0


def vol(v):
    return 0x10 + v


_SEMITONES = {"C": 0, "D": 2, "E": 4, "F": 5, "G": 7, "A": 9, "B": 11}


def N(name):
    """'A4', 'C#5', 'Bb3' -> XM note number (C-0 = 1)."""
    step = _SEMITONES[name[0]]
    rest = name[1:]
    if rest.startswith("#"):
        step, rest = step + 1, rest[1:]
    elif rest.startswith("b"):
        step, rest = step - 1, rest[1:]
    return int(rest) * 12 + step + 1


# ---------------------------------------------------------------------- harmony

# Pad voicings (three voices, led smoothly), bass root, arpeggio tones.
CHORDS = {
    "Am": (("A3", "C4", "E4"), "A1", ("A4", "C5", "E5")),
    "F": (("A3", "C4", "F4"), "F1", ("A4", "C5", "F5")),
    "C": (("G3", "C4", "E4"), "C2", ("G4", "C5", "E5")),
    "G": (("G3", "B3", "D4"), "G1", ("G4", "B4", "D5")),
    "Dm": (("A3", "D4", "F4"), "D2", ("A4", "D5", "F5")),
    "E": (("G#3", "B3", "E4"), "E1", ("G#4", "B4", "E5")),
    "Fmaj7": (("A3", "C4", "E4"), "F1", ("A4", "C5", "E5")),
    "Em7": (("G3", "B3", "D4"), "E1", ("G4", "B4", "D5")),
    "Esus4": (("A3", "B3", "E4"), "E1", ("A4", "B4", "E5")),
    "Bb": (("Bb3", "D4", "F4"), "Bb1", ("Bb4", "D5", "F5")),
}

THEME_CHORDS = ["Am", "F", "C", "G", "Am", "F", "Dm", "E"]
CONTRAST_CHORDS = ["Fmaj7", "G", "Em7", "Am", "Fmaj7", "G", "Esus4", "E"]
BREAKDOWN_CHORDS = ["Dm", "Am", "Bb", "E", "Dm", "Am", "Bb", "E"]

# Melodies, one string per bar: NOTE:length in 16ths (2 rows), then modifiers:
#  ,v vibrato in the second half   ,p slide into the note (tone portamento)
#  ,f fall off at the end          ,aXY chip arpeggio (hex)      r = rest (key-off)
#  ,s swell through fine volume slides in the first half
THEME = [
    "E5:3 A5:3 B5:2 C6:4 B5:2 A5:2",
    "A5:8,v G5:2 F5:2 E5:2 C5:2",
    "E5:3 G5:3 C6:4 D6:2 E6:4",
    "D6:6 B5:4 G5:4,f r:2",
    "E5:3 A5:3 B5:2 C6:4 E6:2 D6:2",
    "C6:8,v A5:2 C6:2 F6:2 E6:2",
    "D6:4 C6:4 A5:4 F5:2 A5:2",
    "G#5:8,p,v B5:4 E5:2 r:2",
]

CONTRAST = [
    "A5:3 C6:3 E6:4 D6:2 C6:4",
    "D6:6 B5:2 G5:4 A5:2 B5:2",
    "G5:3 B5:3 E6:4 D6:2 B5:4",
    "C6:10,a47 B5:2 A5:4",
    "A5:3 C6:3 E6:4 F6:2 E6:4",
    "D6:6 E6:2 D6:4 B5:2 G5:2",
    "A5:8,a27 B5:4 A5:4",
    "G#5:12,p,a38 r:4",
]

# The breakdown's lead: the theme's opening, slowed down, over Dm and Am.
BREAKDOWN_LEAD = [
    "r:16",
    "r:16",
    "r:16",
    "r:8 E5:4 G#5:4",
    "E5:3 A5:3 B5:2 C6:8,s,v",
    "B5:4 A5:4 E5:8,s,v",
    "F5:6 A5:6 D6:4",
    "r:16",
]

BELL_ANSWERS = {  # bar -> [(16th, note)] answering the theme's long notes
    1: [(8, "A5"), (10, "C6"), (12, "F6")],
    3: [(8, "B5"), (10, "D6"), (12, "G6")],
    5: [(4, "C6"), (6, "F6")],
    7: [(8, "B5"), (10, "E6"), (12, "G#6")],
}

BREAKDOWN_BELL = [  # per bar: (16th, note); each phrase falls in volume and pans across
    [(0, "F6"), (6, "E6"), (8, "D6"), (12, "A5")],
    [(0, "C6"), (6, "B5"), (8, "A5"), (12, "E5")],
    [(0, "D6"), (6, "C6"), (8, "Bb5"), (12, "F5")],
    [(0, "G#5"), (4, "B5"), (8, "E6")],
    [(0, "A6"), (8, "F6")],
    [(0, "E6"), (8, "C6")],
    [(0, "F6"), (8, "D6")],
    [],
]


class Section:
    """A canvas of bars x 32 rows x channels; cells are [note, ins, vol, fx, param]."""

    def __init__(self, bars, rows=None):
        self.rows = rows if rows is not None else bars * ROWS_PER_BAR
        self.grid = [[[0, 0, 0, 0, 0] for _ in range(CHANNELS)] for _ in range(self.rows)]

    def put(self, row, ch, note=None, ins=None, v=None, fx=None):
        if not 0 <= row < self.rows:
            return
        cell = self.grid[row][ch]
        if note is not None:
            cell[0] = note
        if ins is not None:
            cell[1] = ins
        if v is not None:
            cell[2] = v
        if fx is not None:
            cell[3], cell[4] = fx

    def has_note(self, row, ch):
        return 0 <= row < self.rows and self.grid[row][ch][0] != 0

    def patterns(self):
        out = []
        for start in range(0, self.rows, PATTERN_ROWS):
            rows = self.grid[start:start + PATTERN_ROWS]
            out.append([[_mixed(c, ch) for ch, c in enumerate(r)] for r in rows])
        return out


def _mixed(cell, ch):
    note, ins, v, fx, param = cell
    gain = CHANNEL_GAIN[ch]
    if 0x10 <= v <= 0x50:
        v = 0x10 + min(64, int(round((v - 0x10) * gain)))
    if fx == SET_VOL:
        param = min(64, int(round(param * gain)))
    return (note, ins, v, fx, param)


def parse_melody(bars, transpose=0):
    """-> list of (row, note or None for rest, length in rows, modifiers)."""
    events = []
    for b, text in enumerate(bars):
        pos = 0
        for token in text.split():
            parts = token.split(",")
            name, length = parts[0].split(":")
            length = int(length) * 2
            note = None if name == "r" else N(name) + transpose
            events.append((b * ROWS_PER_BAR + pos, note, length, parts[1:]))
            pos += length
        assert pos == ROWS_PER_BAR, text
    return events


def place_melody(sec, ch, events, ins, volume=None, start_bar=0):
    base = start_bar * ROWS_PER_BAR
    for row, note, length, mods in events:
        row += base
        if note is None:
            sec.put(row, ch, note=NOTE_OFF)
            continue
        arp = [m for m in mods if m.startswith("a")]
        if "p" in mods:
            sec.put(row, ch, note=note, fx=(TONE_PORTA, 0x0C))
            sec.put(row + 1, ch, fx=(TONE_PORTA, 0))
        else:
            sec.put(row, ch, note=note, ins=ins, v=vol(volume) if volume is not None else None)
        if arp:
            param = int(arp[0][1:], 16)
            for r in range(row + (2 if "p" in mods else 0), row + length):
                sec.put(r, ch, fx=(ARPEGGIO, param))
        if "s" in mods:
            for r in range(row + 1, row + length // 2, 2):
                sec.put(r, ch, fx=ext(E_FINE_UP, 3))
        if "v" in mods:
            half = row + length // 2
            sec.put(half, ch, fx=(VIBRATO, 0x52))
            for r in range(half + 1, row + length):
                sec.put(r, ch, v=V_VIB_DEPTH + 2)
        if "f" in mods:
            sec.put(row + length - 2, ch, v=V_SLIDE_DOWN + 6, fx=(PORTA_DOWN, 0x10))
            sec.put(row + length - 1, ch, v=V_SLIDE_DOWN + 6, fx=(PORTA_DOWN, 0))


def place_echo(sec, events, ins, volume, lag=6, start_bar=0):
    """The classic tracker echo: the lead line again, later, softer, to the side."""
    base = start_bar * ROWS_PER_BAR
    for row, note, length, mods in events:
        r = row + base + lag
        if note is None:
            sec.put(r, ECHO, note=NOTE_OFF)
        else:
            sec.put(r, ECHO, note=note, ins=ins, v=vol(volume), fx=(SET_PAN, 0xD0))


# ------------------------------------------------------------------------ parts

def pads(sec, chords, volume, start_bar=0, swell=False, release=True, legato=False):
    """Three voices; a voice whose note stays is held, not struck again. With `swell`
    the first chord rises from silence through a volume slide; with `legato` later
    chords change notes without the instrument, keeping volume, panning and envelope."""
    current = [None, None, None]
    for b, name in enumerate(chords):
        row = (start_bar + b) * ROWS_PER_BAR
        voicing = CHORDS[name][0]
        for i, ch in enumerate((PAD1, PAD2, PAD3)):
            note = N(voicing[i])
            if note != current[i]:
                if legato and b > 0:
                    sec.put(row, ch, note=note)
                else:
                    sec.put(row, ch, note=note, ins=I_PAD, v=vol(0 if swell and b == 0 else volume))
                current[i] = note
            if swell and b == 0:
                for r in range(row, row + volume // 3):
                    sec.put(r, ch, fx=(VOLSLIDE, 0x10))
    if release:
        end = (start_bar + len(chords)) * ROWS_PER_BAR - 4
        for ch in (PAD1, PAD2, PAD3):
            sec.put(end, ch, note=NOTE_OFF)


def arp(sec, chords, volume, start_bar=0, step=2, offsets=None, pan_pingpong=False, order=None,
        transpose=0):
    """Chord tones in 16ths, three against four; `offsets` per bar opens the pluck's
    attack through the sample offset."""
    order = order or [0, 1, 2, 0, 1, 2, 0, 1]
    for b, name in enumerate(chords):
        tones = CHORDS[name][2]
        base = (start_bar + b) * ROWS_PER_BAR
        for i, r in enumerate(range(0, ROWS_PER_BAR, step)):
            t = order[i % len(order)]
            note = N(tones[t]) + transpose
            v = vol(volume) if not pan_pingpong else V_PAN + (3 if i % 2 else 12)
            fx = None
            if offsets is not None and offsets[b]:
                fx = (OFFSET, offsets[b])
            sec.put(base + r, ARP, note=note, ins=I_PLUCK, v=v, fx=fx)


def bass_main(sec, chords, start_bar=0, dive_last=False):
    for b, name in enumerate(chords):
        root = N(CHORDS[name][1])
        base = (start_bar + b) * ROWS_PER_BAR
        sec.put(base + 0, BASS, note=root, ins=I_BASS)
        sec.put(base + 10, BASS, note=NOTE_OFF)
        sec.put(base + 12, BASS, note=root + 12, ins=I_BASS, v=vol(40), fx=ext(E_CUT, 3))
        sec.put(base + 20, BASS, note=root, ins=I_BASS)
        sec.put(base + 28, BASS, note=root + 7, ins=I_BASS, v=vol(36))
        sec.put(base + 30, BASS, note=root + 12, ins=I_BASS, v=vol(36), fx=ext(E_CUT, 2))
    if dive_last:  # the last bar's octave note dives down into the next section
        base = (start_bar + len(chords) - 1) * ROWS_PER_BAR
        for r in range(28, 32):
            sec.grid[base + r][BASS] = [0, 0, 0, 0, 0]
        sec.put(base + 28, BASS, note=N(CHORDS[chords[-1]][1]) + 12, ins=I_BASS, v=vol(44),
                fx=(PORTA_DOWN, 0x08))
        for r in range(29, 32):
            sec.put(base + r, BASS, fx=(PORTA_DOWN, 0))


def bass_contrast(sec, chords, start_bar=0):
    """Octave-bouncing eighths, staccato, sliding into each new root."""
    for b, name in enumerate(chords):
        root = N(CHORDS[name][1])
        base = (start_bar + b) * ROWS_PER_BAR
        for i, r in enumerate(range(0, ROWS_PER_BAR, 4)):
            note = root + (12 if i % 2 else 0)
            if i == 0 and b > 0:  # the cut octave note slides down into the new root
                sec.put(base, BASS, note=note, v=vol(50), fx=(TONE_PORTA, 0x20))
                sec.put(base + 1, BASS, fx=(TONE_PORTA, 0))
            else:
                sec.put(base + r, BASS, note=note, ins=I_BASS, v=vol(50 if i % 2 == 0 else 38),
                        fx=ext(E_CUT, 3) if i % 2 else None)


def bass_long(sec, chords, start_bar=0, volume=44):
    """Whole-bar roots with a slow vibrato; a change of root is played legato through
    the volume column's tone portamento, so the note is not struck again."""
    for b, name in enumerate(chords):
        base = (start_bar + b) * ROWS_PER_BAR
        note = N(CHORDS[name][1])
        if b == 0:
            sec.put(base, BASS, note=note, ins=I_BASS, v=vol(volume))
        else:
            sec.put(base, BASS, note=note, v=V_PORTA + 1)
        sec.put(base + 16, BASS, fx=(VIBRATO, 0x31))
        for r in range(17, 32):
            sec.put(base + r, BASS, v=V_VIB_DEPTH + 1)
    sec.put((start_bar + len(chords)) * ROWS_PER_BAR - 2, BASS, note=NOTE_OFF)


def drums_main(sec, bars, start_bar=0, fill_last=True, hat_roll_every=4):
    for b in range(bars):
        base = (start_bar + b) * ROWS_PER_BAR
        sec.put(base + 0, KICK, note=N("C4"), ins=I_KICK)
        sec.put(base + 20, KICK, note=N("C4"), ins=I_KICK, v=vol(56))
        if b % 2:
            sec.put(base + 10, KICK, note=N("C4"), ins=I_KICK, v=vol(44), fx=(OFFSET, 0x02))
        sec.put(base + 8, SNARE, note=N("C4"), ins=I_SNARE)
        sec.put(base + 24, SNARE, note=N("C4"), ins=I_SNARE)
        sec.put(base + 14, SNARE, note=N("C4"), ins=I_SNARE, v=vol(12), fx=ext(E_DELAY, 2))
        sec.put(base + 30, SNARE, note=N("C4"), ins=I_SNARE, v=vol(16), fx=(OFFSET, 0x03))
        for r in range(0, ROWS_PER_BAR, 2):
            if r in (12, 28):
                sec.put(base + r, HAT, note=N("C4"), ins=I_OHAT)
            else:
                sec.put(base + r, HAT, note=N("C4"), ins=I_CHAT, v=None if r % 4 == 0 else vol(18))
        if hat_roll_every and b % hat_roll_every == hat_roll_every - 1:
            sec.put(base + 30, HAT, note=N("C4"), ins=I_CHAT, v=vol(22), fx=ext(E_RETRIG, 2))
            sec.put(base + 31, HAT, note=N("C4"), ins=I_CHAT, v=vol(28), fx=ext(E_RETRIG, 2))
    if fill_last:
        tom_fill(sec, start_bar + bars - 1)


def tom_fill(sec, bar):
    """Last half bar: the kick pitched up as toms, falling, under a snare flurry."""
    base = bar * ROWS_PER_BAR
    for r in range(16, 32):
        for ch in (KICK, SNARE):
            sec.grid[base + r][ch] = [0, 0, 0, 0, 0]
    for i, (r, note) in enumerate([(16, "A5"), (19, "F5"), (22, "D5"), (25, "A4")]):
        sec.put(base + r, KICK, note=N(note), ins=I_KICK, v=vol(50), fx=(PORTA_DOWN, 0x06))
    sec.put(base + 28, KICK, note=N("C4"), ins=I_KICK, v=vol(60))
    sec.put(base + 24, SNARE, note=N("C4"), ins=I_SNARE, v=vol(40))
    sec.put(base + 26, SNARE, note=N("C4"), ins=I_SNARE, v=vol(24), fx=(MULTI_RETRIG, 0xA2))
    sec.put(base + 28, SNARE, note=N("C4"), ins=I_SNARE, v=vol(40), fx=(MULTI_RETRIG, 0xA2))
    sec.put(base + 30, SNARE, note=N("C4"), ins=I_SNARE, v=vol(48), fx=(MULTI_RETRIG, 0x91))


def drums_contrast(sec, bars, start_bar=0):
    """Broken beat with swung hats: every second 16th is late by two ticks."""
    for b in range(bars):
        base = (start_bar + b) * ROWS_PER_BAR
        for r in (0, 6, 16, 22):
            sec.put(base + r, KICK, note=N("C4"), ins=I_KICK, v=None if r in (0, 16) else vol(48))
        for r in (8, 24):
            sec.put(base + r, SNARE, note=N("C4"), ins=I_SNARE, v=vol(50), fx=(OFFSET, 0x01))
        sec.put(base + 31, SNARE, note=N("C4"), ins=I_SNARE, v=vol(14), fx=(OFFSET, 0x04))
        for r in range(0, ROWS_PER_BAR, 2):
            if r % 8 == 4:
                sec.put(base + r, HAT, note=N("C4"), ins=I_OHAT, v=vol(30), fx=ext(E_CUT, 3) if b % 2 else None)
            elif r % 4 == 2:
                sec.put(base + r, HAT, note=N("C4"), ins=I_CHAT, v=vol(20), fx=ext(E_DELAY, 2))
            else:
                sec.put(base + r, HAT, note=N("C4"), ins=I_CHAT, v=vol(30))


def crash(sec, bar, volume=40):
    row = bar * ROWS_PER_BAR
    sec.put(row, FX, note=N("C4"), ins=I_CRASH, v=vol(volume))
    sec.put(row + 2, FX, note=NOTE_OFF)


# --------------------------------------------------------------------- sections

def intro_one():
    sec = Section(4)
    pads(sec, THEME_CHORDS[:4], 34, swell=True, release=False)
    arp(sec, THEME_CHORDS[:4], 28, offsets=[0x03, 0x02, 0x01, 0x00])
    sec.put(0, BELL, note=N("E6"), ins=I_BELL, v=vol(36))
    sec.put(64 + 0, BELL, note=N("C6"), ins=I_BELL, v=vol(30))
    # Hats come in softly on the eighths, panned a little off centre.
    for b in (2, 3):
        for r in range(0, ROWS_PER_BAR, 4):
            sec.put(b * ROWS_PER_BAR + r, HAT, note=N("C4"), ins=I_CHAT,
                    v=vol(12 + 4 * (b - 2) + r // 8), fx=(SET_PAN, 0x98))
    # A reversed-cymbal swell into the groove: held noise sliding up in volume.
    start = 3 * ROWS_PER_BAR + 8
    sec.put(start, FX, note=N("C4"), ins=I_CRASH, v=vol(0))
    for r in range(start, start + 24):
        sec.put(r, FX, fx=(VOLSLIDE, 0x10))
    return sec


def intro_two():
    sec = Section(4)
    crash(sec, 0)
    pads(sec, THEME_CHORDS[:4], 26)
    arp(sec, THEME_CHORDS[:4], 26)
    bass_main(sec, THEME_CHORDS[:4])
    drums_main(sec, 4)
    return sec


def theme(with_answers):
    sec = Section(8)
    crash(sec, 0)
    pads(sec, THEME_CHORDS, 22)
    arp(sec, THEME_CHORDS, 20, order=[2, 1, 0, 1, 2, 1, 0, 1] if with_answers else None,
        transpose=12)
    bass_main(sec, THEME_CHORDS, dive_last=True)
    drums_main(sec, 8)
    events = parse_melody(THEME, transpose=-12)
    place_melody(sec, LEAD, events, I_LEAD, volume=44)
    if with_answers:
        place_echo(sec, events, I_LEAD, 18)
        for bar, notes in BELL_ANSWERS.items():
            for slot, name in notes:
                sec.put(bar * ROWS_PER_BAR + slot * 2, BELL, note=N(name), ins=I_BELL)
    return sec


def theme_high():
    sec = Section(8)
    crash(sec, 0, 48)
    pads(sec, THEME_CHORDS, 24)
    arp(sec, THEME_CHORDS, 22, step=1, order=[0, 1, 2, 1])
    bass_main(sec, THEME_CHORDS, dive_last=True)
    drums_main(sec, 8)
    events = parse_melody(THEME)
    place_melody(sec, LEAD, events, I_LEAD, volume=40)
    place_echo(sec, parse_melody(THEME, transpose=-12), I_LEAD, 16)
    return sec


def contrast():
    sec = Section(8)
    crash(sec, 0)
    pads(sec, CONTRAST_CHORDS, 24)
    arp(sec, CONTRAST_CHORDS, 0, pan_pingpong=True, order=[0, 1, 2, 1])
    bass_contrast(sec, CONTRAST_CHORDS)
    drums_contrast(sec, 8)
    tom_fill(sec, 7)
    place_melody(sec, LEAD, parse_melody(CONTRAST), I_LEAD, volume=38)
    return sec


def breakdown():
    """Drums drop out; bell and pads carry the harmony, the lead returns quietly, and
    the last two bars build up: kick in quarters then eighths, a snare roll that speeds
    up through multi-retrigger, a noise riser sliding up. The last bar is cut in half by
    a pattern break, so the return lands a beat early."""
    sec = Section(8)
    pads(sec, BREAKDOWN_CHORDS, 30, release=False, legato=True)
    for ch, slide in ((PAD1, 0x01), (PAD3, 0x10)):  # the outer voices drift apart
        for r in range(0, 6 * ROWS_PER_BAR, 8):
            sec.put(r, ch, fx=(PAN_SLIDE, slide))
    bass_long(sec, BREAKDOWN_CHORDS[:6], volume=36)
    arp(sec, BREAKDOWN_CHORDS[:6], 14, step=1, order=[0, 1, 2, 1, 2, 0])
    for bar, notes in enumerate(BREAKDOWN_BELL):
        for i, (slot, name) in enumerate(notes):
            sec.put(bar * ROWS_PER_BAR + slot * 2, BELL, note=N(name), ins=I_BELL,
                    v=V_PAN + (4 + 3 * i if bar % 2 else 11 - 3 * i), fx=(SET_VOL, 44 - 6 * i))
    place_melody(sec, LEAD, parse_melody(BREAKDOWN_LEAD), I_LEAD, volume=34)
    # Bars 7 and 8: the build.
    b7, b8 = 6 * ROWS_PER_BAR, 7 * ROWS_PER_BAR
    for r in range(0, 32, 8):
        sec.put(b7 + r, KICK, note=N("C4"), ins=I_KICK, v=vol(40 + r))
    for r in range(0, 16, 4):
        sec.put(b8 + r, KICK, note=N("C4"), ins=I_KICK, v=vol(60))
    for i, r in enumerate(range(0, 16, 4)):
        sec.put(b7 + r, SNARE, note=N("C4"), ins=I_SNARE, v=vol(10 + 3 * i))
    for i, r in enumerate(range(16, 32, 2)):
        sec.put(b7 + r, SNARE, note=N("C4"), ins=I_SNARE, v=vol(22 + 2 * i))
    for i, r in enumerate(range(0, 16)):
        sec.put(b8 + r, SNARE, note=N("C4"), ins=I_SNARE if i == 0 else None,
                v=vol(38 + i), fx=(MULTI_RETRIG, 0x82 if i < 8 else 0x91))
    sec.put(b7, FX, note=N("C3"), ins=I_CRASH, v=vol(8))
    for r in range(b7, b8 + 16):
        sec.put(r, FX, v=V_SLIDE_UP + 1 if (r - b7) % 4 == 0 else None, fx=(PORTA_UP, 0x02))
    for r in range(b7, b8 + 16, 4):  # pads bow out under the riser
        for ch in (PAD1, PAD2, PAD3):
            sec.put(r, ch, fx=ext(E_FINE_DOWN, 2))
    for ch in (PAD1, PAD2, PAD3, BASS, ARP):
        sec.put(b8 + 12, ch, note=NOTE_OFF)
    sec.put(b8 + 15, KICK, fx=(BREAK, 0x00))
    return sec


def compose():
    """-> (patterns, orders, restart position)."""
    sections = [intro_one(), intro_two(), theme(False), theme(True), contrast(), breakdown(),
                theme_high(), theme(True)]
    patterns, orders, index = [], [], {}
    for sec in sections:
        for pat in sec.patterns():
            key = repr(pat)
            if key not in index:
                index[key] = len(patterns)
                patterns.append(pat)
            orders.append(index[key])
    return patterns, orders, 2
