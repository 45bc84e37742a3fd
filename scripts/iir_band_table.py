#!/usr/bin/env python3
"""Designs the band filter's bandwidth correction table (audio/iir_design.cpp).

For each frequency row (Hz at 44100) and bandwidth divisor column, finds the
factor k such that the section (1 - z^-2) / (1 - c2 z^-1 + c3 z^-2) with
r = exp(-pi w / (dQ k)) has a half-power width of w / dQ (cycles per sample),
as near as the frequency range allows (k within 0.25 .. 4). Prints the C++ rows.
"""
import cmath, math

ROWS_HZ = [13.23, 40, 100, 250, 600, 1500, 3500, 7000, 12000, 17000, 21609]
QS = [0.25, 0.5, 1, 2, 4, 8, 16]
FS = 44100.0


def mag2(w, q, x):
    r = math.exp(-math.pi * w / q)
    c2, c3 = 2 * r * math.cos(2 * math.pi * w), r * r
    z = cmath.exp(-2j * math.pi * x)
    return abs((1 - z * z) / (1 - c2 * z + c3 * z * z)) ** 2


def width(w, q):
    # Peak near w, then the half-power points on either side by bisection.
    lo, hi = 1e-7, 0.5 - 1e-7
    # log-spaced around w, where the peak lies
    xs = [min(max(w * 16 ** ((i - 2000) / 2000.0), lo), hi) for i in range(4001)]
    best = max((mag2(w, q, x), x) for x in xs)
    peak, xp = best
    half = peak / 2

    def edge(a, b):  # mag2(a) < half <= mag2(b) or reverse
        fa = mag2(w, q, a) - half
        for _ in range(60):
            m = (a + b) / 2
            fm = mag2(w, q, m) - half
            if (fm < 0) == (fa < 0):
                a, fa = m, fm
            else:
                b = m
        return (a + b) / 2
    left = edge(lo, xp) if mag2(w, q, lo) < half else lo
    right = edge(xp, hi) if mag2(w, q, hi) < half else hi
    return right - left


def factor(w, dq):
    target = w / dq
    a, b = math.log(0.25), math.log(4.0)  # log k; wider for smaller k
    for _ in range(40):
        m = (a + b) / 2
        if width(w, dq * math.exp(m)) > target:
            a = m
        else:
            b = m
    return math.exp((a + b) / 2)


for hz in ROWS_HZ:
    w = min(max(hz / FS, 0.0003), 0.49)
    ks = [factor(w, q) for q in QS]
    print("    {%.2f, {%s}}," % (hz, ", ".join("%.4f" % k for k in ks)))
