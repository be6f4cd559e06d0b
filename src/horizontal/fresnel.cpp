// Sums and integrals of unit vectors with quadratic phase: the generalised Fresnel integral
// through a scaled Fresnel tail, and the Euler-Maclaurin sum built on it.
#include "horizontal/evaluation.hpp"
#include "horizontal/horizontal.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace rcc {

namespace {

using Complex = std::complex<double>;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// The scaled Fresnel tail H(tau) = e^(-i pi tau^2 / 2) * integral from tau to +inf of
// e^(i pi u^2 / 2) du is smooth and slowly varying for tau >= 0 (H(0) = (1+i)/2, H ~
// i/(pi tau)) and obeys H' = -1 - i pi tau H. Its Taylor coefficients about a centre c follow
// from that equation: (k+1) h_(k+1) = -[k = 0] - i pi (c h_k + h_(k-1)). The equation's
// homogeneous solution has modulus one, so stepping it neither damps nor amplifies errors.
constexpr int kCentresPerUnit = 8;  // centres every 1/8, so |tau - centre| <= 1/16
constexpr int kCentreCount = 57;    // centres 0, 1/8, ..., 7
// Beyond this tau the asymptotic series reaches double precision within 16 terms.
constexpr double kAsymptoticFrom = 6.9;
// Terms of one Taylor step of length 1/8 while the centre table is built: the terms fall
// below 1e-25 of the value well before this.
constexpr int kCentreStepTerms = 48;
// Largest number of terms of a series at run time; each loop also stops on a negligible
// term (below kNegligibleTerm, absolute: |H| >= 0.04 and |G| is compared with 1).
constexpr int kMaxSeriesTerms = 60;
constexpr double kNegligibleTerm = 1e-18;

// 1/k for k < kMaxSeriesTerms + 2, so that the series loops multiply instead of divide.
constexpr std::array<double, kMaxSeriesTerms + 2> makeReciprocals() {
    std::array<double, kMaxSeriesTerms + 2> reciprocals{};
    for (int k = 1; k < kMaxSeriesTerms + 2; ++k) reciprocals[k] = 1.0 / k;
    return reciprocals;
}
constexpr std::array<double, kMaxSeriesTerms + 2> kReciprocals = makeReciprocals();

struct ExtendedComplex {
    long double re;
    long double im;
};

// One Taylor step of H from `centre` to centre + delta, in scaled coefficients
// e_k = h_k delta^k: (k+1) e_(k+1) = -delta [k = 0] - i pi delta (c e_k + delta e_(k-1)).
constexpr ExtendedComplex advanceTail(ExtendedComplex value, long double centre,
                                      long double delta) {
    ExtendedComplex previous{0.0L, 0.0L};
    ExtendedComplex current = value;
    ExtendedComplex sum = value;
    for (int k = 0; k < kCentreStepTerms; ++k) {
        const long double wr = centre * current.re + delta * previous.re;
        const long double wi = centre * current.im + delta * previous.im;
        ExtendedComplex next{kPiExtended * delta * wi, -kPiExtended * delta * wr};
        if (k == 0) next.re -= delta;
        next.re /= k + 1;
        next.im /= k + 1;
        previous = current;
        current = next;
        sum.re += next.re;
        sum.im += next.im;
    }
    return sum;
}

struct TailCentre {
    double re;
    double im;
};

// H at every centre, by stepping the differential equation in long double from H(0).
constexpr std::array<TailCentre, kCentreCount> makeTailCentres() {
    std::array<TailCentre, kCentreCount> centres{};
    ExtendedComplex value{0.5L, 0.5L};  // H(0) = (1 + i) / 2
    const long double delta = 1.0L / kCentresPerUnit;
    for (int k = 0; k < kCentreCount; ++k) {
        centres[k] = {static_cast<double>(value.re), static_cast<double>(value.im)};
        value = advanceTail(value, k * delta, delta);
    }
    return centres;
}

constexpr std::array<TailCentre, kCentreCount> kTailCentres = makeTailCentres();

// H(tau) for tau >= 0: Taylor series about the nearest centre, or for large tau the
// asymptotic series H ~ (i / (pi tau)) sum_k (-i)^k (2k-1)!! / (pi tau^2)^k.
Complex fresnelTail(double tau) {
    if (tau >= kAsymptoticFrom) {
        const double z = 1.0 / (kPi * tau * tau);
        double re = 1.0;
        double im = 0.0;
        double termRe = 1.0;
        double termIm = 0.0;
        for (int k = 1; k < kMaxSeriesTerms; ++k) {
            // term *= -i (2k - 1) z
            const double factor = (2 * k - 1) * z;
            const double nextRe = termIm * factor;
            termIm = -termRe * factor;
            termRe = nextRe;
            re += termRe;
            im += termIm;
            if (std::fabs(termRe) + std::fabs(termIm) < kNegligibleTerm) break;
        }
        const double scale = 1.0 / (kPi * tau);  // times i / (pi tau)
        return {-im * scale, re * scale};
    }
    const int index = static_cast<int>(tau * kCentresPerUnit + 0.5);
    const double centre = static_cast<double>(index) / kCentresPerUnit;
    const double delta = tau - centre;
    const TailCentre& value = kTailCentres[index];
    double previousRe = value.re;
    double previousIm = value.im;
    // e_1 = delta * (-1 - i pi c h_0)
    double currentRe = delta * (kPi * centre * value.im - 1.0);
    double currentIm = -delta * kPi * centre * value.re;
    double re = previousRe + currentRe;
    double im = previousIm + currentIm;
    for (int k = 1; k < kMaxSeriesTerms; ++k) {
        const double wr = centre * currentRe + delta * previousRe;
        const double wi = centre * currentIm + delta * previousIm;
        const double scale = kPi * delta * kReciprocals[k + 1];
        previousRe = currentRe;
        previousIm = currentIm;
        currentRe = scale * wi;
        currentIm = -scale * wr;
        re += currentRe;
        im += currentIm;
        if (std::fabs(currentRe) + std::fabs(currentIm) + std::fabs(previousRe) +
                std::fabs(previousIm) <
            kNegligibleTerm)
            break;
    }
    return {re, im};
}

// x minus a whole number of turns, leaving at most a little over pi, in long double. The
// turns are counted in double precision (nearbyint on long double is slow, and any whole
// number of turns will do); beyond 2^52 turns, and for NaN or infinity, x is returned as it is.
long double reduceTurns(long double x) {
    constexpr double kTurnsPerRadian = 1 / kTwoPi;
    constexpr double kMaxTurns = 0x1p52;
    const double turns = static_cast<double>(x) * kTurnsPerRadian;
    if (!(std::fabs(turns) < kMaxTurns)) return x;
    const auto whole = static_cast<std::int64_t>(turns < 0 ? turns - 0.5 : turns + 0.5);
    if (whole == 0) return x;
    return x - 2 * kPiExtended * static_cast<long double>(whole);
}

// Product of two complex numbers without the NaN and infinity recovery of operator*, which
// is a library call: every value here is finite or NaN already.
Complex times(Complex a, Complex b) {
    return {a.real() * b.real() - a.imag() * b.imag(), a.real() * b.imag() + a.imag() * b.real()};
}

// e^(i x) with x reduced in long double first.
Complex unitPhase(long double x) {
    const double reduced = reducedAngle(x);
    return {std::cos(reduced), std::sin(reduced)};
}

// Below this |A| the chirp changes G by less than |A| / 3 < 1e-18: a plain linear phase.
constexpr double kNegligibleChirp = 1e-18;
// The centred series is used for A up to this and |B + A| up to kCentredSlopeLimit, where it
// converges in about 30 terms and cancels at most a factor of about 6.
constexpr double kCentredChirpLimit = 1.5;
constexpr double kCentredSlopeLimit = 3.0;

// G for |B + A| and A small: about v = 1/2 + x/2 the phase is B/2 + A/4 + (B'/2) x + (A/4) x^2
// with B' = B + A; its exponential has coefficients (p+1) d_(p+1) = (i B'/2) d_p +
// (i A/2) d_(p-1), and the odd powers integrate to zero over x in [-1, 1].
Complex centredSeriesTerms(double A, double B) {
    const double slope = (B + A) / 2;
    const double chirp = A / 2;
    double previousRe = 1.0;  // d_0
    double previousIm = 0.0;
    double currentRe = 0.0;  // d_1 = i B'/2
    double currentIm = slope;
    double re = 1.0;
    double im = 0.0;
    for (int p = 1; p < kMaxSeriesTerms; ++p) {
        // d_(p+1) = i (slope d_p + chirp d_(p-1)) / (p+1)
        const double wr = slope * currentRe + chirp * previousRe;
        const double wi = slope * currentIm + chirp * previousIm;
        previousRe = currentRe;
        previousIm = currentIm;
        currentRe = -wi * kReciprocals[p + 1];
        currentIm = wr * kReciprocals[p + 1];
        if ((p + 1) % 2 == 0) {  // even power: integral of x^p / 2 over [-1, 1] is 1/(p+1)
            re += currentRe * kReciprocals[p + 2];
            im += currentIm * kReciprocals[p + 2];
        }
        if (std::fabs(currentRe) + std::fabs(currentIm) + std::fabs(previousRe) +
                std::fabs(previousIm) <
            kNegligibleTerm)
            break;
    }
    return {re, im};
}

// Whether G(A, B) is the centred series (A > 0 beyond the negligible chirp).
bool centredSeriesHolds(double A, double B) {
    return A <= kCentredChirpLimit && std::fabs(B + A) <= kCentredSlopeLimit;
}

Complex centredSeries(double A, double B) {
    const Complex centrePhase = unitPhase(static_cast<long double>(B) / 2 + A / 4.0L);
    return times(centrePhase, centredSeriesTerms(A, B));
}

}  // namespace

double reducedAngle(long double x) { return static_cast<double>(reduceTurns(x)); }

std::complex<double> quadraticPhaseIntegral(double A, double B) {
    if (!std::isfinite(A) || !std::isfinite(B)) return {kNaN, kNaN};
    if (std::fabs(A) < kNegligibleChirp) {
        // integral of e^(i B v) over [0, 1] = e^(i B/2) sin(B/2) / (B/2)
        const double half = B / 2;
        const double sinc = half == 0 ? 1.0 : std::sin(half) / half;
        return {sinc * std::cos(half), sinc * std::sin(half)};
    }
    if (A < 0) return std::conj(quadraticPhaseIntegral(-A, -B));
    if (centredSeriesHolds(A, B)) return centredSeries(A, B);
    // Complete the square: B v + A v^2 = (pi/2) u^2 - B^2/(4A) with u = tau0 + v sqrt(2A/pi),
    // so G = F e^(-i B^2/(4A)) times the Fresnel integral from tau0 to tau1, F = sqrt(pi/(2A)).
    // Written with the tails H, only the end phase e^(i(A+B)) appears; the large phase
    // B^2/(4A) is needed only when the stationary point lies inside, where it is at most A.
    const double scale = std::sqrt(2 * A / kPi);
    const double tau0 = B / (kPi * scale);
    const double tau1 = tau0 + scale;
    const double F = 1.0 / scale;
    const Complex endPhase = unitPhase(static_cast<long double>(A) + B);
    if (tau0 >= 0) return F * (fresnelTail(tau0) - times(endPhase, fresnelTail(tau1)));
    if (tau1 <= 0) return F * (times(endPhase, fresnelTail(-tau1)) - fresnelTail(-tau0));
    const Complex whole =
        times(Complex(1.0, 1.0), unitPhase(-static_cast<long double>(B) * B / (4.0L * A)));
    return F * (whole - fresnelTail(-tau0) - times(endPhase, fresnelTail(tau1)));
}

namespace {

// Phases are summed term by term when there are this few terms anyway.
constexpr std::int64_t kDirectSumTerms = 8;
// Remainder of Euler-Maclaurin after the f^(5) term: |R| <= 2 zeta(6) / (2 pi)^6 times the
// integral of |f^(6)|.
constexpr double kRemainderFactor = 3.31e-5;

Complex directSum(long double alpha, long double beta, long double gamma, std::int64_t count) {
    Complex sum(0.0, 0.0);
    for (std::int64_t m = 0; m < count; ++m) {
        const long double ml = static_cast<long double>(m);
        sum += unitPhase(alpha + (beta + gamma * ml) * ml);
    }
    return sum;
}

// The endpoint terms of Euler-Maclaurin for f = e^(iq) at a point where q' = slope and
// q'' = curve: -f/2 + f'/12 - f'''/720 + f^(5)/30240, with f' = i q' f,
// f''' = (-3 q' q'' - i q'^3) f and f^(5) = (10 q'^3 q'' + i (q'^5 - 15 q' q''^2)) f.
Complex endpointTerms(Complex f, double slope, double curve) {
    const double slope2 = slope * slope;
    const double slope3 = slope2 * slope;
    const double re = -0.5 + 3 * slope * curve / 720 + 10 * slope3 * curve / 30240;
    const double im =
        slope / 12 + slope3 / 720 + (slope3 * slope2 - 15 * slope * curve * curve) / 30240;
    return times(f, Complex(re, im));
}

}  // namespace

bool closedFormHolds(double maxSlope, double maxCurve, double count, double tolerance) {
    // |f^(6)| <= (|q'| + sqrt(6 |q''|))^6 for a quadratic phase q.
    const double bound = maxSlope + std::sqrt(6 * maxCurve);
    const double bound2 = bound * bound;
    return kRemainderFactor * count * bound2 * bound2 * bound2 <= tolerance;
}

std::complex<double> quadraticPhaseSum(long double alpha, long double beta, long double gamma,
                                       std::int64_t count, double tolerance, bool closedFormOnly) {
    if (count <= 0) return {0.0, 0.0};
    if (!std::isfinite(alpha) || !std::isfinite(beta) || !std::isfinite(gamma)) {
        return {kNaN, kNaN};
    }
    // Whole turns of beta do not change e^(i beta m) at integer m.
    beta = reduceTurns(beta);
    const long double countL = static_cast<long double>(count);

    if (gamma == 0) {
        // Geometric (Dirichlet) sum: e^(i(alpha + beta (M-1)/2)) sin(beta M/2) / sin(beta/2);
        // a ratio of sines, so a nearly straight arc loses nothing to cancellation.
        if (beta == 0) return static_cast<double>(count) * unitPhase(alpha);
        const double ratio =
            std::sin(reducedAngle(beta * countL / 2)) / std::sin(static_cast<double>(beta / 2));
        return ratio * unitPhase(alpha + beta * (countL - 1) / 2);
    }
    if (count <= kDirectSumTerms && !closedFormOnly) return directSum(alpha, beta, gamma, count);

    const double slopeStart = static_cast<double>(beta);
    const double slopeEnd = static_cast<double>(beta + 2 * gamma * countL);
    const double curve = static_cast<double>(2 * gamma);
    if (!closedFormHolds(std::max(std::fabs(slopeStart), std::fabs(slopeEnd)), std::fabs(curve),
                         static_cast<double>(count), tolerance)) {
        if (count > kMaxDirectTerms) return {kNaN, kNaN};
        return directSum(alpha, beta, gamma, count);
    }
    const Complex start = unitPhase(alpha);
    const Complex end = unitPhase(alpha + (beta + gamma * countL) * countL);
    const double A = static_cast<double>(gamma * countL * countL);
    const double B = static_cast<double>(beta * countL);
    return static_cast<double>(count) * times(start, quadraticPhaseIntegral(A, B)) +
           endpointTerms(end, slopeEnd, curve) - endpointTerms(start, slopeStart, curve);
}

std::complex<double> quadraticPhaseStartTerms(std::complex<double> startPhase, double beta,
                                              double gamma) {
    return -endpointTerms(startPhase, beta, 2 * gamma);
}

namespace {

// Below this |x|, e^(ix) from its Taylor series to x^4: the next term, x^5/120, stays under
// 1e-17. The chirp of a short stretch of a clothoid is smaller still.
constexpr double kSmallPhase = 1e-3;

Complex smallUnitPhase(double x) {
    if (!(std::fabs(x) < kSmallPhase)) return {std::cos(x), std::sin(x)};
    const double x2 = x * x;
    return {1 - x2 / 2 + x2 * x2 / 24, x * (1 - x2 / 6)};
}

}  // namespace

std::complex<double> quadraticPhaseEndTerms(std::complex<double> startPhase, double beta,
                                            double gamma, std::int64_t count,
                                            std::complex<double>& endPhase) {
    // One sine and cosine, of the centre offset d = B/2 + A/4: the centre phase is
    // e^(i alpha) e^(i d) and the end phase e^(i alpha) e^(2 i d) e^(i A/2), the last factor
    // from a short series. Each product adds about 1e-16 of the unit vector.
    const double countD = static_cast<double>(count);
    const double A = gamma * countD * countD;
    const double B = beta * countD;
    const double offset = B / 2 + A / 4;
    const Complex toCentre(std::cos(offset), std::sin(offset));
    const Complex centre = times(startPhase, toCentre);
    endPhase = times(times(centre, toCentre), smallUnitPhase(A / 2));
    const Complex ends = endpointTerms(endPhase, beta + 2 * gamma * countD, 2 * gamma);
    // M e^(i alpha) G(A, B); in the centred case G = e^(i d) times its series. G(A, B) =
    // conj(G(-A, -B)) for a negative chirp.
    const bool rising = A > 0;
    if (std::fabs(A) >= kNegligibleChirp && centredSeriesHolds(std::fabs(A), rising ? B : -B)) {
        const Complex terms =
            rising ? centredSeriesTerms(A, B) : std::conj(centredSeriesTerms(-A, -B));
        return countD * times(centre, terms) + ends;
    }
    return countD * times(startPhase, quadraticPhaseIntegral(A, B)) + ends;
}

}  // namespace rcc
