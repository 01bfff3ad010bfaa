"""tsrgen: what every table and coefficient generator under tools/gen/ shares.

A generator sits beside this file, imports it (`import tsrgen`), computes its values with
mpmath or Fraction at a working precision far above the target format, and leaves the rest
here:

  formats    BINARY32, BINARY64, X87 (80-bit extended), BINARY128
  rounding   to_format (nearest-even, subnormals, overflow), round_bits (k significant
             bits), round_grid (a multiple of 2^e), each in the modes of MODES;
             to_bits / from_bits between values and bit patterns
  emission   hexfloat, hexint, c_rows, c_array, header, write_outputs
  fitting    remez, least_squares, evaluate (an existing polynomial), approx_comment

Every rounding is exact: values go through Fraction, never through a binary float.
"""
import math
import os
import sys
from fractions import Fraction

from mpmath import mp, mpf
from mpmath.libmp import from_man_exp

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))


class Format:
    """An IEEE-style binary format: prec significand bits (the leading one included),
    emin the least normal exponent, width the storage bits; x87 stores its leading bit."""

    def __init__(self, name, prec, emin, width, suffix, explicit=False):
        self.name, self.prec, self.emin, self.emax = name, prec, emin, 1 - emin
        self.width, self.suffix, self.explicit = width, suffix, explicit
        self.ebits = width - prec - explicit

    def __repr__(self):
        return self.name


BINARY32 = Format("binary32", 24, -126, 32, "f")
BINARY64 = Format("binary64", 53, -1022, 64, "")
X87 = Format("x87", 64, -16382, 80, "L", explicit=True)
BINARY128 = Format("binary128", 113, -16382, 128, "Q")

MODES = ("nearest", "up", "down", "zero")  # nearest is ties-to-even


def exact(x):
    """x (int, float, Fraction or finite mpf) as a Fraction, exactly."""
    if isinstance(x, (int, Fraction)):
        return Fraction(x)
    if isinstance(x, float):
        return Fraction(x)
    sign, man, e, _ = mpf(x)._mpf_
    if man == 0 and e != 0:
        raise ValueError("not finite: %s" % x)
    return Fraction(-man if sign else man) * Fraction(2) ** e


def to_mpf(q):
    """A dyadic Fraction as an mpf, exactly (whatever mp.prec is)."""
    n, d = q.numerator, q.denominator
    assert d & (d - 1) == 0, "not a dyadic value: %s" % q
    v = mp.make_mpf(from_man_exp(abs(n), -(d.bit_length() - 1)))
    return -v if n < 0 else v


def _round_int(q, mode):
    fl = math.floor(q)
    if mode == "down" or (mode == "zero" and q >= 0):
        return fl
    if mode == "up" or mode == "zero":
        return fl if fl == q else fl + 1
    d = q - fl
    return fl + 1 if d > Fraction(1, 2) or (d == Fraction(1, 2) and fl & 1) else fl


def _exponent(q):
    """floor(log2 |q|) for a non-zero Fraction."""
    q = abs(q)
    e = q.numerator.bit_length() - q.denominator.bit_length()
    return e if q >= Fraction(2) ** e else e - 1


def round_grid(x, e, mode="nearest"):
    """x rounded to a multiple of 2^e."""
    s = Fraction(2) ** e
    return to_mpf(_round_int(exact(x) / s, mode) * s)


def round_bits(x, k, mode="nearest"):
    """x rounded to k significant bits (no exponent range)."""
    q = exact(x)
    return to_mpf(q) if q == 0 else round_grid(q, _exponent(q) - k + 1, mode)


def to_format(x, fmt, mode="nearest"):
    """x rounded to fmt, subnormals included; beyond the largest finite value the mode
    decides between it and infinity (an infinite mpf stays as it is)."""
    if isinstance(x, mpf) and mp.isinf(x):
        return x
    q = exact(x)
    if q == 0:
        return to_mpf(q)
    r = exact(round_grid(q, max(_exponent(q), fmt.emin) - fmt.prec + 1, mode))
    big = (2 - Fraction(2) ** (1 - fmt.prec)) * Fraction(2) ** fmt.emax
    if abs(r) > big:
        to_inf = mode == "nearest" or (mode == "up") == (r > 0) and mode != "zero"
        return mpf("inf") * (1 if r > 0 else -1) if to_inf else to_mpf(big if r > 0 else -big)
    return to_mpf(r)


def _negative(x):
    if isinstance(x, float):
        return math.copysign(1, x) < 0  # -0.0 included
    return x < 0 if isinstance(x, (int, Fraction)) else mpf(x) < 0


def to_bits(x, fmt, mode="nearest", check_exact=False):
    """The bit pattern of x rounded to fmt (a Python float keeps the sign of a zero)."""
    v = to_format(x, fmt, mode)
    if check_exact:
        assert exact(v) == exact(x), "%s is not a %s" % (x, fmt)
    sign = int(_negative(x)) << (fmt.width - 1)
    frac_bits = fmt.prec - 1
    if mp.isinf(v):
        return sign | ((1 << fmt.ebits) - 1) << (fmt.width - 1 - fmt.ebits) | (int(fmt.explicit) << frac_bits)
    q = abs(exact(v))
    if q == 0:
        return sign
    e = max(_exponent(q), fmt.emin - 1)  # emin - 1: the subnormal exponent field
    m = int(q / Fraction(2) ** (max(e, fmt.emin) - frac_bits))
    field = e - fmt.emin + 1
    if not fmt.explicit:
        m &= (1 << frac_bits) - 1
    return sign | field << (fmt.width - 1 - fmt.ebits) | m


def from_bits(b, fmt):
    """The value of a bit pattern of fmt, exactly (an mpf: a zero loses its sign)."""
    frac_bits = fmt.prec - 1
    field = (b >> (fmt.width - 1 - fmt.ebits)) & ((1 << fmt.ebits) - 1)
    m = b & ((1 << (frac_bits + fmt.explicit)) - 1)
    sgn = -1 if b >> (fmt.width - 1) else 1
    if field == (1 << fmt.ebits) - 1:
        return mpf("inf") * sgn if m & ((1 << frac_bits) - 1) == 0 else mpf("nan")
    if not fmt.explicit and field:
        m |= 1 << frac_bits
    e = max(field, 1) + fmt.emin - 1 - frac_bits
    return to_mpf(sgn * Fraction(m) * Fraction(2) ** e)


def _hex(q, digits, trim):
    """The hex layout 0x1.<digits>p<e> of a non-zero dyadic q with at most 1 + 4*digits bits."""
    e = _exponent(q)
    m = q / Fraction(2) ** (e - 4 * digits)
    assert m.denominator == 1, "%s needs more than %d hex digits" % (q, digits)
    f = "%0*x" % (digits, int(m) - (1 << 4 * digits))
    f = f.rstrip("0") if trim else f
    return "0x1%s%sp%+d" % ("." if f else "", f, e)


def hexfloat(x, fmt=BINARY64):
    """x rounded to fmt as an exact C++ hex literal with fmt's suffix: the layout Python
    prints for a double (13 hex digits) whenever the value is one, fmt's full width
    otherwise; a zero is 0x0p+0, signed when x is a negative float zero."""
    v = to_format(x, fmt)
    neg = _negative(x)
    q = abs(exact(v))
    if q == 0:
        body = "0x0p+0"
    else:
        digits = 13 if exact(round_bits(q, 53)) == q else -(-(fmt.prec - 1) // 4)
        body = _hex(q, digits, False)
    return ("-" if neg else "") + body + fmt.suffix


def hexint(n, digits=0, suffix=""):
    """An unsigned integer (a bit pattern or a packed word) as 0x..., zero-padded."""
    return "0x%0*x%s" % (digits, n, suffix)


def c_rows(items, per_row, indent="    ", comments=None):
    """Array initialiser lines: per_row items a line, each followed by a comma; comments,
    one per line, are appended as // comments."""
    out = []
    for n, i in enumerate(range(0, len(items), per_row)):
        line = indent + ", ".join(items[i:i + per_row]) + ","
        out.append(line + ("  // " + comments[n] if comments else ""))
    return out


def c_array(decl, items, per_row=4, comment=None, comments=None):
    """A C++ array definition: `decl = {`, the rows, `};`, after a // comment if given."""
    head = ["// " + c for c in comment.split("\n")] if comment else []
    return head + [decl + " = {"] + c_rows(items, per_row, comments=comments) + ["};"]


def header(script, source=None):
    """The first line of every generated file."""
    src = " from " + source if source else ""
    return "// Generated by tools/gen/%s%s; do not edit." % (script, src)


def write_outputs(files, argv=None):
    """Writes {path relative to the repository root: text}, under --out DIR if given (the
    repository root otherwise), each file only when its text changed."""
    argv = sys.argv[1:] if argv is None else argv
    out = argv[argv.index("--out") + 1] if "--out" in argv else ROOT
    for rel, text in files.items():
        path = os.path.join(out, rel)
        if os.path.exists(path) and open(path).read() == text:
            continue
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w") as f:
            f.write(text)
        print("wrote", path)


# ---- fitting ----------------------------------------------------------------------------
class Approx:
    """A polynomial sum coeffs[k] x^k on [a, b] and its measured error: err is the largest
    |f - p| (times weight, divided by |f| when relative), reached at `at`."""

    def __init__(self, coeffs, a, b, err, at, relative):
        self.coeffs, self.a, self.b, self.err, self.at, self.relative = coeffs, a, b, err, at, relative
        self.degree = max(k for k, c in enumerate(coeffs) if c != 0)

    def err_log2(self):
        return float(mp.log(self.err, 2)) if self.err else float("-inf")

    def comment(self, script, f_text=None):
        return approx_comment(self.a, self.b, self.degree, self.err_log2(), script, f_text, self.relative)


def _interval_end(x, mode):
    # 13 significant bits (3 hex digits), rounded outward, trailing zeros dropped
    q = exact(round_bits(x, 13, mode))
    return "0" if q == 0 else ("-" if q < 0 else "") + _hex(abs(q), 3, True)


def approx_comment(a, b, degree, err_log2, script, f_text=None, relative=True):
    """The comment that states an approximation's interval, degree and measured error: the
    long form names the function, the short one sits beside coefficients that do."""
    iv = "[%s, %s]" % (_interval_end(a, "down"), _interval_end(b, "up"))
    kind = "rel." if relative else "abs."
    if f_text:
        return "approximation of %s on %s, degree %d, max %s error 2^%.2f (measured by tools/gen/%s)" % (
            f_text, iv, degree, "relative" if relative else "absolute", err_log2, script)
    return "interval %s, degree %d, max %s error 2^%.2f (tools/gen/%s)" % (iv, degree, kind, err_log2, script)


def _poly(c, x):
    s = mpf(0)
    for v in reversed(c):
        s = s * x + v
    return s


def _scale(f, relative, weight):
    """x -> the divisor that turns f - p into the error measured: |f(x)|/weight(x) or 1/weight(x)."""
    return lambda x: (abs(f(x)) if relative else 1) / (weight(x) if weight else 1)


def _nodes(a, b, n, scale):
    """n Chebyshev extrema of [a, b]; a point where the error is undefined (a zero of f,
    relative error) is moved just beside it."""
    pts = [(a + b) / 2 - (b - a) / 2 * mp.cos(mp.pi * i / (n - 1)) for i in range(n)]
    return [x if scale(x) else x + (b - a) * mpf(2) ** -40 for x in pts]


def measure(coeffs, f, a, b, relative=True, weight=None, grid=3000, iterations=80):
    """max |error| of sum coeffs[k] x^k against f on [a, b]: a dense Chebyshev grid, then
    the largest local maxima refined by golden-section search (`iterations` steps, each
    shrinking the bracket by 0.618).  Returns (err, at)."""
    scale = _scale(f, relative, weight)
    e = lambda x: (f(x) - _poly(coeffs, x)) / scale(x)
    xs = _nodes(a, b, grid, scale)
    ys = [abs(e(x)) for x in xs]
    peaks = sorted((i for i in range(grid) if ys[i] >= ys[max(i - 1, 0)] and ys[i] >= ys[min(i + 1, grid - 1)]),
                   key=lambda i: -ys[i])[:6]
    best = max((ys[i], xs[i]) for i in peaks)
    g = (mp.sqrt(5) - 1) / 2
    for i in peaks:
        lo, hi = xs[max(i - 1, 0)], xs[min(i + 1, grid - 1)]
        for _ in range(iterations):
            m1, m2 = hi - g * (hi - lo), lo + g * (hi - lo)
            if abs(e(m1)) > abs(e(m2)):
                hi = m2
            else:
                lo = m1
        x = (lo + hi) / 2
        if scale(x):
            best = max(best, (abs(e(x)), x))
    return best


class _Problem:
    """A fit's set-up: the free powers, the fixed part, the error's divisor, and the
    interval the fit runs on (its right half when parity makes a symmetric one redundant)."""

    def __init__(self, f, a, b, degree, relative, fixed, parity, weight):
        self.fixed = {k: to_mpf(exact(v)) for k, v in (fixed or {}).items()}
        self.free = [k for k in range(degree + 1)
                     if k not in self.fixed and (parity is None or k % 2 == (parity == "odd"))]
        self.degree, self.f, self.relative, self.weight = degree, f, relative, weight
        self.a, self.b = mpf(a), mpf(b)
        self.lo = mpf(0) if parity and self.a == -self.b else self.a
        self.scale = _scale(f, relative, weight)
        fx = [self.fixed.get(k, mpf(0)) for k in range(degree + 1)]
        self.g = lambda x: f(x) - _poly(fx, x)  # what the free powers approximate

    def coeffs(self, sol):
        c = [self.fixed.get(k, mpf(0)) for k in range(self.degree + 1)]
        for k, v in zip(self.free, sol):
            c[k] = v
        return c

    def lsq(self, points):
        xs = [x for x in _nodes(self.lo, self.b, points, self.scale) if x]  # 0 adds nothing
        A = mp.matrix([[x ** k / self.scale(x) for k in self.free] for x in xs])
        sol, _ = mp.qr_solve(A, mp.matrix([self.g(x) / self.scale(x) for x in xs]))
        return list(sol)

    def result(self, sol, fmt):
        c = self.coeffs([to_format(v, fmt) for v in sol])
        err, at = measure(c, self.f, self.a, self.b, self.relative, self.weight)
        return Approx(c, self.a, self.b, err, at, self.relative)


def least_squares(f, a, b, degree, relative=True, fixed=None, parity=None, weight=None,
                  fmt=BINARY64, prec=256, points=400):
    """Least-squares polynomial for f on [a, b] over Chebyshev points: relative or absolute
    error, times weight(x) if given; `fixed` maps powers to exact coefficients left as they
    are, `parity` ("odd"/"even") keeps only those powers free.  The free coefficients are
    rounded to nearest in fmt; the error returned is that of the rounded polynomial.  f
    takes and returns mpf."""
    with mp.workprec(prec):
        p = _Problem(f, a, b, degree, relative, fixed, parity, weight)
        return p.result(p.lsq(points), fmt)


def remez(f, a, b, degree, relative=True, fixed=None, parity=None, weight=None, fmt=BINARY64,
          prec=256, iterations=30):
    """Minimax polynomial by Remez exchange, with the options and result of least_squares.
    The exchange starts from the least-squares fit's alternation points rather than from
    Chebyshev nodes: fixed low powers make the error vanish at 0, where no reference point
    may sit."""
    with mp.workprec(prec):
        p = _Problem(f, a, b, degree, relative, fixed, parity, weight)
        n = len(p.free) + 1  # reference points
        grid = _nodes(p.lo, p.b, 60 * (n + 1), p.scale)
        sol = p.lsq(20 * n)
        for _ in range(iterations):
            c = p.coeffs(sol)
            ext = []  # the largest |error| of each run of one sign
            for x in grid:
                y = (p.f(x) - _poly(c, x)) / p.scale(x)
                if ext and (y > 0) == (ext[-1][1] > 0):
                    if abs(y) > abs(ext[-1][1]):
                        ext[-1] = (x, y)
                else:
                    ext.append((x, y))
            while len(ext) > n:
                ext.pop(0 if abs(ext[0][1]) < abs(ext[-1][1]) else -1)
            top, low = max(abs(y) for _, y in ext), min(abs(y) for _, y in ext)
            if len(ext) < n or top - low <= top * mpf(2) ** -16:
                break
            rows = [[x ** k for k in p.free] + [(-1) ** i * p.scale(x)] for i, (x, _) in enumerate(ext)]
            sol = list(mp.lu_solve(mp.matrix(rows), mp.matrix([p.g(x) for x, _ in ext])))[:-1]
        return p.result(sol, fmt)


def evaluate(words, f, a, b, fmt=BINARY64, relative=True, weight=None, prec=256):
    """The error of a polynomial already in the code: words[k] is the coefficient of x^k as
    a bit pattern of fmt (int), a tuple of patterns taken as their exact sum (a coefficient
    held in two words), or an exact Fraction (a coefficient the code applies implicitly)."""
    with mp.workprec(prec):
        c = []
        for w in words:
            if isinstance(w, Fraction):
                c.append(to_mpf(w))
            else:
                c.append(mp.fsum(from_bits(p, fmt) for p in (w if isinstance(w, tuple) else (w,))))
        a, b = mpf(a), mpf(b)
        err, at = measure(c, f, a, b, relative, weight)
        return Approx(c, a, b, err, at, relative)
