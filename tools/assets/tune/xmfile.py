"""Writes a FastTracker 2 Extended Module (version 0x0104 layout) from plain records.

Everything is little-endian. Patterns are packed the way FT2 packs them; sample data
is stored as differences from the previous value, as the format demands.
"""

import struct

NOTE_OFF = 97
MAX_CHANNELS = 32


class Sample:
    """One sample: data are signed ints in the range of `bits` (8 or 16).
    Loop start and length are in samples; loop is 0 none, 1 forward, 2 ping-pong."""

    def __init__(self, name, data, bits, loop=0, loop_start=0, loop_length=0,
                 volume=64, finetune=0, panning=128, relative_note=0):
        self.name = name
        self.data = data
        self.bits = bits
        self.loop = loop
        self.loop_start = loop_start
        self.loop_length = loop_length
        self.volume = volume
        self.finetune = finetune
        self.panning = panning
        self.relative_note = relative_note


class Envelope:
    """Up to 12 (tick, value) points; sustain and loop are point indices or None."""

    def __init__(self, points, sustain=None, loop=None):
        self.points = points
        self.sustain = sustain
        self.loop = loop

    def type_byte(self):
        return 1 | (2 if self.sustain is not None else 0) | (4 if self.loop is not None else 0)


class Instrument:
    def __init__(self, name, samples, volume_envelope=None, panning_envelope=None,
                 fadeout=0, vibrato=(0, 0, 0, 0), keymap=None):
        self.name = name
        self.samples = samples
        self.volume_envelope = volume_envelope
        self.panning_envelope = panning_envelope
        self.fadeout = fadeout
        self.vibrato = vibrato  # type, sweep, depth, rate
        self.keymap = keymap if keymap is not None else [0] * 96


class Module:
    def __init__(self, name, channels, tempo, bpm, linear=True):
        self.name = name
        self.channels = channels
        self.tempo = tempo
        self.bpm = bpm
        self.linear = linear
        self.restart = 0
        self.orders = []
        self.patterns = []  # each a list of rows, each row a list of channel cells
        self.instruments = []


def _text(s, size):
    raw = s.encode("ascii")[:size]
    return raw + b"\0" * (size - len(raw))


def _pack_cell(cell):
    note, instrument, volume, effect, parameter = cell
    fields = [note, instrument, volume, effect, parameter]
    present = [v != 0 for v in fields]
    if all(present):
        return bytes(fields)
    flags = 0x80
    out = []
    for bit, (v, p) in enumerate(zip(fields, present)):
        if p:
            flags |= 1 << bit
            out.append(v)
    return bytes([flags] + out)


def _pack_pattern(rows, channels):
    packed = bytearray()
    for row in rows:
        assert len(row) == channels
        for cell in row:
            for v in cell:
                assert 0 <= v <= 255, cell
            packed += _pack_cell(cell)
    return bytes(packed)


def _envelope_bytes(env):
    pts = env.points if env else []
    assert len(pts) <= 12
    raw = bytearray()
    for i in range(12):
        tick, value = pts[i] if i < len(pts) else (0, 0)
        raw += struct.pack("<HH", tick, value)
    return bytes(raw)


def _sample_bytes(sample):
    """Delta-coded data; 16-bit data wraps modulo 2^16, 8-bit modulo 2^8."""
    out = bytearray()
    prev = 0
    if sample.bits == 16:
        for v in sample.data:
            assert -32768 <= v <= 32767
            out += struct.pack("<h", ((v - prev + 32768) & 0xFFFF) - 32768)
            prev = v
    else:
        for v in sample.data:
            assert -128 <= v <= 127
            out.append((v - prev) & 0xFF)
            prev = v
    return bytes(out)


def write_module(module):
    assert 1 <= module.channels <= MAX_CHANNELS
    assert 1 <= len(module.orders) <= 256
    out = bytearray()
    out += _text("Extended Module: ", 17)
    out += _text(module.name, 20)
    out += b"\x1a"
    out += _text("invitro tunegen", 20)
    out += struct.pack("<H", 0x0104)
    orders = module.orders + [0] * (256 - len(module.orders))
    out += struct.pack("<IHHHHHHHH", 276, len(module.orders), module.restart,
                       module.channels, len(module.patterns), len(module.instruments),
                       1 if module.linear else 0, module.tempo, module.bpm)
    out += bytes(orders)
    assert len(out) == 336

    for rows in module.patterns:
        data = _pack_pattern(rows, module.channels)
        assert len(data) <= 0xFFFF
        out += struct.pack("<IBHH", 9, 0, len(rows), len(data))
        out += data

    for ins in module.instruments:
        n = len(ins.samples)
        assert n <= 16
        head = bytearray()
        head += _text(ins.name, 22)
        head += bytes([0])
        head += struct.pack("<H", n)
        if n:
            head += struct.pack("<I", 40)
            head += bytes(ins.keymap)
            head += _envelope_bytes(ins.volume_envelope)
            head += _envelope_bytes(ins.panning_envelope)
            ve, pe = ins.volume_envelope, ins.panning_envelope
            head += bytes([len(ve.points) if ve else 0, len(pe.points) if pe else 0])
            for env in (ve, pe):
                head += bytes([
                    env.sustain if env and env.sustain is not None else 0,
                    env.loop[0] if env and env.loop is not None else 0,
                    env.loop[1] if env and env.loop is not None else 0,
                ])
            head += bytes([ve.type_byte() if ve else 0, pe.type_byte() if pe else 0])
            head += bytes(ins.vibrato)
            head += struct.pack("<H", ins.fadeout)
            head += b"\0" * 22
        out += struct.pack("<I", len(head) + 4)
        out += head
        for s in ins.samples:
            width = 2 if s.bits == 16 else 1
            assert s.loop == 0 or 0 <= s.loop_start < s.loop_start + s.loop_length <= len(s.data)
            kind = s.loop | (0x10 if s.bits == 16 else 0)
            out += struct.pack("<IIIBbBBbB", len(s.data) * width,
                               s.loop_start * width if s.loop else 0,
                               s.loop_length * width if s.loop else 0,
                               s.volume, s.finetune, kind, s.panning, s.relative_note, 0)
            out += _text(s.name, 22)
        for s in ins.samples:
            out += _sample_bytes(s)
    return bytes(out)
