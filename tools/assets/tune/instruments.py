"""Synthesises the tune's instruments: drums from filtered noise and swept sines,
tonal instruments additively (band-limited, so nothing aliases) with loops that hold
whole cycles. No sample is taken from anywhere; every random number comes from a
fixed-seed generator, so the output is the same on every run.
"""

import math

from xmfile import Envelope, Instrument, Sample

C4_HZ = 261.6255653  # equal temperament, A4 = 440 Hz
TWO_PI = 2.0 * math.pi


class Noise:
    """xorshift32 with a fixed seed: white noise in -1..1, identical on every machine."""

    def __init__(self, seed):
        self.state = seed & 0xFFFFFFFF or 1

    def next(self):
        x = self.state
        x ^= (x << 13) & 0xFFFFFFFF
        x ^= x >> 17
        x ^= (x << 5) & 0xFFFFFFFF
        self.state = x
        return x / 2147483648.0 - 1.0


def tuning(rate_for_c4):
    """Relative note and finetune that make note C-4 play the sample at this rate
    (8363 Hz is what C-4 plays without them)."""
    semis = 12.0 * math.log2(rate_for_c4 / 8363.0)
    relative = int(round(semis))
    finetune = int(round((semis - relative) * 128.0))
    return relative, max(-128, min(127, finetune))


def quantise(signal, bits, peak=0.97):
    """Normalises to `peak` of full scale and rounds to signed ints of `bits`."""
    top = max(1e-9, max(abs(v) for v in signal))
    full = 127 if bits == 8 else 32767
    scale = peak * full / top
    return [max(-full - 1, min(full, int(round(v * scale)))) for v in signal]


def one_pole_lowpass(signal, cutoff, rate):
    a = math.exp(-TWO_PI * cutoff / rate)
    out, y = [], 0.0
    for v in signal:
        y = (1.0 - a) * v + a * y
        out.append(y)
    return out


def one_pole_highpass(signal, cutoff, rate):
    low = one_pole_lowpass(signal, cutoff, rate)
    return [v - l for v, l in zip(signal, low)]


def crossfade_loop(signal, loop_start, loop_length, fade):
    """Blends the last `fade` samples of the loop into the samples just before the
    loop start, so that jumping from the loop end back to its start is seamless."""
    out = list(signal[:loop_start + loop_length])
    end = loop_start + loop_length
    for i in range(fade):
        w = (i + 1) / (fade + 1)
        j = end - fade + i
        out[j] = out[j] * (1.0 - w) + signal[j - loop_length] * w
    return out


def fade_tail(signal, count):
    n = len(signal)
    for i in range(count):
        signal[n - 1 - i] *= i / count
    return signal


# ---------------------------------------------------------------------------- drums

def kick():
    rate = 11025
    n = int(0.34 * rate)
    noise = Noise(0x6B1C)
    click = one_pole_lowpass([noise.next() for _ in range(n)], 2500, rate)
    out, phase = [], 0.0
    for i in range(n):
        t = i / rate
        freq = 47.0 + 120.0 * math.exp(-t / 0.032) + 260.0 * math.exp(-t / 0.004)
        phase += TWO_PI * freq / rate
        body = math.sin(phase) * math.exp(-max(0.0, t - 0.02) / 0.2)
        hit = click[i] * math.exp(-t / 0.003) * 0.6
        out.append(math.tanh(1.8 * (body + hit)))
    out = fade_tail(out, 300)
    rel, fine = tuning(rate)
    return Instrument("Kick", [Sample("kick", quantise(out, 8), 8, volume=64,
                                      finetune=fine, relative_note=rel)])


def snare():
    rate = 16000
    n = int(0.2 * rate)
    noise = Noise(0x5A4E)
    raw = [noise.next() for _ in range(n)]
    hiss = one_pole_lowpass(one_pole_highpass(raw, 900, rate), 6500, rate)
    out, p1, p2 = [], 0.0, 0.0
    for i in range(n):
        t = i / rate
        p1 += TWO_PI * (180.0 + 70.0 * math.exp(-t / 0.01)) / rate
        p2 += TWO_PI * 331.0 / rate
        tone = 0.8 * math.sin(p1) * math.exp(-t / 0.045) + 0.35 * math.sin(p2) * math.exp(-t / 0.025)
        body = 2.2 * hiss[i] * (0.35 * math.exp(-t / 0.11) + 0.65 * math.exp(-t / 0.035))
        out.append(math.tanh(1.9 * (tone + body)))
    out = fade_tail(out, 200)
    rel, fine = tuning(rate)
    return Instrument("Snare", [Sample("snare", quantise(out, 8), 8, volume=60, panning=120,
                                       finetune=fine, relative_note=rel)])


def _metal(n, rate, seed):
    """Six detuned square waves (the classic analogue cymbal recipe) plus noise,
    high-passed into the hiss band."""
    freqs = [205.3, 304.4, 369.6, 522.7, 540.0, 800.0]
    noise = Noise(seed)
    raw = []
    for i in range(n):
        t = i / rate
        sq = sum(1.0 if math.sin(TWO_PI * f * 2.7 * t) >= 0.0 else -1.0 for f in freqs)
        raw.append(sq / 6.0 * 0.6 + noise.next() * 0.7)
    return one_pole_highpass(one_pole_highpass(raw, 6000, rate), 5000, rate)


def closed_hat():
    rate = 22050
    n = int(0.045 * rate)
    metal = _metal(n, rate, 0x11A7)
    out = [v * math.exp(-(i / rate) / 0.011) for i, v in enumerate(metal)]
    out = fade_tail(out, 60)
    rel, fine = tuning(rate)
    return Instrument("Closed hat", [Sample("hat closed", quantise(out, 8), 8, volume=56,
                                            finetune=fine, relative_note=rel, panning=156)])


def open_hat():
    rate = 22050
    attack, loop = 600, 1100
    metal = _metal(attack + loop, rate, 0x0BE7)
    shaped = [v * (1.0 + 1.2 * math.exp(-(i / rate) / 0.006)) for i, v in enumerate(metal)]
    data = crossfade_loop(shaped, attack, loop, 300)
    rel, fine = tuning(rate)
    sample = Sample("hat open", quantise(data, 8), 8, loop=1, loop_start=attack,
                    loop_length=loop, volume=48, finetune=fine, relative_note=rel, panning=156)
    env = Envelope([(0, 64), (3, 44), (10, 22), (22, 8), (40, 0)])
    return Instrument("Open hat", [sample], volume_envelope=env, fadeout=2048)


def crash():
    """Long noise with a sustain point: a crash when released soon, a riser when held
    and slid up. The panning envelope sweeps it across the stereo field."""
    rate = 22050
    attack, loop = 500, 2000
    noise = Noise(0xC4A5)
    raw = [noise.next() for _ in range(attack + loop)]
    bright = one_pole_lowpass(one_pole_highpass(raw, 3000, rate), 11000, rate)
    metal = _metal(attack + loop, rate, 0x7E11)
    mixed = [0.7 * b + 0.4 * m for b, m in zip(bright, metal)]
    shaped = [v * (1.0 + 1.5 * math.exp(-(i / rate) / 0.008)) for i, v in enumerate(mixed)]
    data = crossfade_loop(shaped, attack, loop, 500)
    rel, fine = tuning(rate)
    sample = Sample("crash", quantise(data, 8), 8, loop=1, loop_start=attack,
                    loop_length=loop, volume=52, finetune=fine, relative_note=rel)
    vol = Envelope([(0, 64), (4, 50), (30, 30), (90, 12), (170, 0)], sustain=1)
    pan = Envelope([(0, 32), (30, 46), (80, 18), (130, 32)], loop=(0, 3))
    return Instrument("Crash / riser", [sample], volume_envelope=vol,
                      panning_envelope=pan, fadeout=400)


# ----------------------------------------------------------------------- tonal ones

def _harmonic_cycle(n, amplitude_of, phases=None):
    """One cycle of n samples from harmonics 1..n/2-1 with the given amplitudes."""
    top = n // 2 - 1
    out = []
    for i in range(n):
        x = TWO_PI * i / n
        v = 0.0
        for k in range(1, top + 1):
            a = amplitude_of(k)
            if a:
                v += a * math.sin(k * x + (phases[k] if phases else 0.0))
        out.append(v)
    return out


def bass():
    """Saw plus sub sine with a resonant low-pass whose cutoff falls over the first
    cycles (the pluck of the note); the last cycle is the forward loop."""
    n, cycles = 128, 6
    data = []
    for c in range(cycles + 1):
        cut = 4.0 + 18.0 * math.exp(-c / 1.6)

        def amp(k, cut=cut):
            lp = 1.0 / math.sqrt(1.0 + (k / cut) ** 4)
            bump = 1.0 + 1.4 * math.exp(-((k - cut) / 1.5) ** 2)
            return (1.0 / k) * lp * bump + (0.9 if k == 1 else 0.0)

        data += _harmonic_cycle(n, amp)
    rel, fine = tuning(C4_HZ * n)
    sample = Sample("bass", quantise(data, 16, 0.9), 16, loop=1, loop_start=cycles * n,
                    loop_length=n, volume=56, finetune=fine, relative_note=rel)
    env = Envelope([(0, 64), (8, 58), (30, 52)], sustain=2)
    return Instrument("Bass", [sample], volume_envelope=env, fadeout=3000)


def lead():
    """Three band-limited saws, the outer two a loop-length cycle apart from the middle
    one (about 27 cents): the loop holds whole cycles of each, so it is seamless and the
    chorus beats once per loop."""
    n, per_loop = 32, 64
    length = n * per_loop
    oscillators = [(per_loop - 1, 0.8), (per_loop, 1.0), (per_loop + 1, 0.8)]
    data = [0.0] * length
    for cycles, gain in oscillators:
        top = (length // 2 - 1) // cycles
        for k in range(1, top + 1):
            a = gain / k * (1.0 if k < 10 else 10.0 / k)
            w = TWO_PI * k * cycles / length
            ph = 0.7 * cycles
            for i in range(length):
                data[i] += a * math.sin(w * i + ph)
    top = max(abs(v) for v in data)
    data = [math.tanh(1.6 * v / top) for v in data]
    rel, fine = tuning(C4_HZ * n)
    sample = Sample("lead", quantise(data, 16, 0.9), 16, loop=1, loop_start=0,
                    loop_length=length, volume=44, finetune=fine, relative_note=rel)
    env = Envelope([(0, 0), (2, 64), (14, 54), (40, 0)], sustain=2)
    return Instrument("Lead", [sample], volume_envelope=env, fadeout=1200,
                      vibrato=(0, 40, 5, 18))


def pad():
    """Detuned saws written as cosines with signs from a fixed generator: symmetric about
    both loop ends, so the ping-pong loop plays the endless chord without a seam."""
    length, per_loop = 2048, 32
    noise = Noise(0x9AD1)
    data = [0.0] * length
    for h in (2 * per_loop - 1, 2 * per_loop, 2 * per_loop + 1):
        top = min(20, (length - 1) // h)
        for k in range(1, top + 1):
            a = (1.0 / k) * (1.0 if k < 6 else (6.0 / k) ** 0.7)
            sign = 1.0 if noise.next() >= 0.0 else -1.0
            w = math.pi * k * h / length  # h/2 cycles of the fundamental per loop
            for i in range(length):
                data[i] += sign * a * math.cos(w * i)
    rel, fine = tuning(C4_HZ * (2 * length / (2 * per_loop)))
    sample = Sample("pad", quantise(data, 8), 8, loop=2, loop_start=0, loop_length=length,
                    volume=28, finetune=fine, relative_note=rel)
    vol = Envelope([(0, 0), (10, 52), (40, 64), (80, 50), (120, 64)], loop=(2, 4))
    pan = Envelope([(0, 32), (50, 42), (150, 22), (200, 32)], loop=(0, 3))
    return Instrument("Pad", [sample], volume_envelope=vol, panning_envelope=pan,
                      fadeout=600)


def pluck():
    """Band-limited pluck: every harmonic decays, the high ones faster; the final cycle
    loops and the envelope finishes the decay."""
    n, cycles = 32, 44
    data = []
    for i in range(n * cycles + n):
        c = min(i / n, cycles)
        x = TWO_PI * i / n
        v = 0.0
        for k in range(1, n // 2):
            decay = math.exp(-c * (0.02 + 0.004 * k * k))
            v += (1.5 if k == 2 else 1.0) / k * decay * math.sin(k * x)
        data.append(v)
    rel, fine = tuning(C4_HZ * n)
    sample = Sample("pluck", quantise(data, 8), 8, loop=1, loop_start=n * cycles, loop_length=n,
                    volume=40, panning=100, finetune=fine, relative_note=rel)
    env = Envelope([(0, 64), (6, 30), (20, 10), (50, 0)])
    return Instrument("Pluck", [sample], volume_envelope=env, fadeout=1500)


def bell():
    """Two-operator FM with a 7:2 ratio, so two carrier cycles repeat exactly; the index
    falls during the attack and stays small in the looped tail."""
    n = 32
    period = 2 * n
    attack = 22 * period
    data = []
    for i in range(attack + period):
        t = min(i, attack) / attack
        index = 0.7 + 3.0 * math.exp(-t * 4.0)
        x = TWO_PI * i / n
        data.append(math.sin(x + index * math.sin(3.5 * x)))
    rel, fine = tuning(C4_HZ * n)
    sample = Sample("bell", quantise(data, 8), 8, loop=1, loop_start=attack, loop_length=period,
                    volume=40, panning=170, finetune=fine, relative_note=rel)
    env = Envelope([(0, 64), (4, 48), (20, 26), (60, 10), (120, 0)])
    return Instrument("Bell", [sample], volume_envelope=env, fadeout=800)


def all_instruments():
    """In instrument-number order (1-based in the patterns)."""
    return [kick(), snare(), closed_hat(), open_hat(), bass(), lead(), pad(), pluck(),
            bell(), crash()]
