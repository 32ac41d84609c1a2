// SGP4, near-earth branch, written from the equations of Spacetrack Report
// No. 3 (Hoots and Roehrich, 1980). Units inside the model: earth radii and
// minutes; angles in radians. The elements' mean motion is the Kozai mean
// motion of the element sets; the model first recovers the original (Brouwer)
// mean motion xnodp and semi-major axis aodp from it.
//
// There is no deep-space branch: every orbit is propagated with the
// near-earth secular, drag and periodic terms.
#include "orbit/sgp4.h"

#include <cmath>
#include <cstring>

#include "common/timeutil.h"

namespace {

constexpr double kTwoPi = 6.283185307179586;
constexpr double kTwoThirds = 2.0 / 3.0;
constexpr double kAe = 1.0;  // distance unit: earth radii

// Model state kept in KEPLER.sgp4_params: the elements and every constant
// that sgp4_init derives from them.
struct Sgp4State {
  double valid;
  // Elements.
  double xmo, xnodeo, omegao, eo, xincl, bstar;
  // Recovered mean motion and semi-major axis.
  double xnodp, aodp;
  // Secular rates.
  double xmdot, omgdot, xnodot;
  // Drag coefficients.
  double c1, c4, c5, d2, d3, d4, t2cof, t3cof, t4cof, t5cof;
  double omgcof, xmcof, xnodcf, eta, delmo, sinmo;
  // Periodic coefficients.
  double cosio, sinio, x3thm1, x1mth2, x7thm1, xlcof, aycof;
  double isimp;
};
static_assert(sizeof(Sgp4State) <= SGP4_NPARAMS * sizeof(double), "model state too large");

}  // namespace

int sgp4_init(const tle_t* tle, double state[SGP4_NPARAMS]) {
  Sgp4State s{};
  std::memset(state, 0, SGP4_NPARAMS * sizeof(double));
  const double eo = tle->eo, xincl = tle->xincl, xno = tle->xno;
  if (!(eo >= 0.0 && eo <= 0.999999)) return SGP4_ERR_ECC;
  if (!(xno > 0.0) || !std::isfinite(xno)) return SGP4_ERR_MOTION;

  // Recover the original mean motion and semi-major axis from the Kozai mean
  // motion (first-order J2 correction, iterated once).
  const double a1 = std::pow(SGP4_XKE / xno, kTwoThirds);
  const double cosio = std::cos(xincl);
  const double theta2 = cosio * cosio;
  const double x3thm1 = 3.0 * theta2 - 1.0;
  const double eosq = eo * eo;
  const double betao2 = 1.0 - eosq;
  const double betao = std::sqrt(betao2);
  const double del1 = 1.5 * SGP4_CK2 * x3thm1 / (a1 * a1 * betao * betao2);
  const double ao = a1 * (1.0 - del1 * (0.5 * kTwoThirds + del1 * (1.0 + 134.0 / 81.0 * del1)));
  const double delo = 1.5 * SGP4_CK2 * x3thm1 / (ao * ao * betao * betao2);
  const double xnodp = xno / (1.0 + delo);
  const double aodp = ao / (1.0 - delo);
  if (!(aodp > 0.0) || !std::isfinite(aodp)) return SGP4_ERR_AXIS;

  // Perigee below 220 km: the simplified drag equations (isimp).
  const bool isimp = (aodp * (1.0 - eo) / kAe) < (220.0 / SGP4_XKMPER + kAe);

  // The atmospheric density parameter s4 and (q0 - s4)^4 depend on the
  // perigee height: above 156 km the standard s, below it perigee - 78 km,
  // never below 20 km.
  double s4 = SGP4_S;
  double qoms24 = SGP4_QOMS2T;
  const double perige = (aodp * (1.0 - eo) - kAe) * SGP4_XKMPER;
  if (perige < 156.0) {
    s4 = perige - 78.0;
    if (perige <= 98.0) s4 = 20.0;
    qoms24 = std::pow((120.0 - s4) * kAe / SGP4_XKMPER, 4.0);
    s4 = s4 / SGP4_XKMPER + kAe;
  }
  const double pinvsq = 1.0 / (aodp * aodp * betao2 * betao2);
  const double tsi = 1.0 / (aodp - s4);
  const double eta = aodp * eo * tsi;
  const double etasq = eta * eta;
  const double eeta = eo * eta;
  const double psisq = std::fabs(1.0 - etasq);
  const double coef = qoms24 * std::pow(tsi, 4.0);
  const double coef1 = coef / std::pow(psisq, 3.5);

  // Drag: C1..C5.
  const double c2 = coef1 * xnodp *
                    (aodp * (1.0 + 1.5 * etasq + eeta * (4.0 + etasq)) +
                     0.75 * SGP4_CK2 * tsi / psisq * x3thm1 * (8.0 + 3.0 * etasq * (8.0 + etasq)));
  const double c1 = tle->bstar * c2;
  const double sinio = std::sin(xincl);
  const double a3ovk2 = -SGP4_XJ3 / SGP4_CK2 * kAe * kAe * kAe;
  const double x1mth2 = 1.0 - theta2;
  // The 1/e terms (C3 and the mean-anomaly drag term) are dropped for nearly
  // circular orbits, as the revised reference model does, to avoid the
  // singularity at e = 0.
  const double c3 = eo > 1.0e-4 ? coef * tsi * a3ovk2 * xnodp * kAe * sinio / eo : 0.0;
  const double c4 =
      2.0 * xnodp * coef1 * aodp * betao2 *
      (eta * (2.0 + 0.5 * etasq) + eo * (0.5 + 2.0 * etasq) -
       2.0 * SGP4_CK2 * tsi / (aodp * psisq) *
           (-3.0 * x3thm1 * (1.0 - 2.0 * eeta + etasq * (1.5 - 0.5 * eeta)) +
            0.75 * x1mth2 * (2.0 * etasq - eeta * (1.0 + etasq)) * std::cos(2.0 * tle->omegao)));
  const double c5 = 2.0 * coef1 * aodp * betao2 * (1.0 + 2.75 * (etasq + eeta) + eeta * etasq);

  // Secular rates of mean anomaly, perigee and node from J2 and J4.
  const double theta4 = theta2 * theta2;
  const double temp1 = 3.0 * SGP4_CK2 * pinvsq * xnodp;
  const double temp2 = temp1 * SGP4_CK2 * pinvsq;
  const double temp3 = 1.25 * SGP4_CK4 * pinvsq * pinvsq * xnodp;
  s.xmdot = xnodp + 0.5 * temp1 * betao * x3thm1 +
            0.0625 * temp2 * betao * (13.0 - 78.0 * theta2 + 137.0 * theta4);
  const double x1m5th = 1.0 - 5.0 * theta2;
  s.omgdot = -0.5 * temp1 * x1m5th + 0.0625 * temp2 * (7.0 - 114.0 * theta2 + 395.0 * theta4) +
             temp3 * (3.0 - 36.0 * theta2 + 49.0 * theta4);
  const double xhdot1 = -temp1 * cosio;
  s.xnodot =
      xhdot1 + (0.5 * temp2 * (4.0 - 19.0 * theta2) + 2.0 * temp3 * (3.0 - 7.0 * theta2)) * cosio;
  s.omgcof = tle->bstar * c3 * std::cos(tle->omegao);
  s.xmcof = eo > 1.0e-4 ? -kTwoThirds * coef * tle->bstar * kAe / eeta : 0.0;
  s.xnodcf = 3.5 * betao2 * xhdot1 * c1;
  s.t2cof = 1.5 * c1;
  // Long-period coefficients (J3); the 1 + cos i divisor is kept off zero.
  const double cosio1 = std::fabs(1.0 + cosio) > 1.5e-12 ? 1.0 + cosio : 1.5e-12;
  s.xlcof = 0.125 * a3ovk2 * sinio * (3.0 + 5.0 * cosio) / cosio1;
  s.aycof = 0.25 * a3ovk2 * sinio;
  s.delmo = std::pow(1.0 + eta * std::cos(tle->xmo), 3.0);
  s.sinmo = std::sin(tle->xmo);
  s.x7thm1 = 7.0 * theta2 - 1.0;

  if (!isimp) {
    const double c1sq = c1 * c1;
    s.d2 = 4.0 * aodp * tsi * c1sq;
    const double temp = s.d2 * tsi * c1 / 3.0;
    s.d3 = (17.0 * aodp + s4) * temp;
    s.d4 = 0.5 * temp * aodp * tsi * (221.0 * aodp + 31.0 * s4) * c1;
    s.t3cof = s.d2 + 2.0 * c1sq;
    s.t4cof = 0.25 * (3.0 * s.d3 + c1 * (12.0 * s.d2 + 10.0 * c1sq));
    s.t5cof = 0.2 * (3.0 * s.d4 + 12.0 * c1 * s.d3 + 6.0 * s.d2 * s.d2 +
                     15.0 * c1sq * (2.0 * s.d2 + c1sq));
  }

  s.valid = 1.0;
  s.xmo = tle->xmo;
  s.xnodeo = tle->xnodeo;
  s.omegao = tle->omegao;
  s.eo = eo;
  s.xincl = xincl;
  s.bstar = tle->bstar;
  s.xnodp = xnodp;
  s.aodp = aodp;
  s.c1 = c1;
  s.c4 = c4;
  s.c5 = c5;
  s.eta = eta;
  s.cosio = cosio;
  s.sinio = sinio;
  s.x3thm1 = x3thm1;
  s.x1mth2 = x1mth2;
  s.isimp = isimp ? 1.0 : 0.0;
  std::memcpy(state, &s, sizeof s);
  return SGP4_OK;
}

int sgp4_propagate(const double state[SGP4_NPARAMS], double tsince, double pos_km[3],
                   double vel_kms[3]) {
  Sgp4State s;
  std::memcpy(&s, state, sizeof s);
  if (s.valid != 1.0) return SGP4_ERR_MOTION;

  // Secular gravity and atmospheric drag.
  const double xmdf = s.xmo + s.xmdot * tsince;
  const double omgadf = s.omegao + s.omgdot * tsince;
  const double xnoddf = s.xnodeo + s.xnodot * tsince;
  double omega = omgadf;
  double xmp = xmdf;
  const double tsq = tsince * tsince;
  const double xnode = xnoddf + s.xnodcf * tsq;
  double tempa = 1.0 - s.c1 * tsince;
  double tempe = s.bstar * s.c4 * tsince;
  double templ = s.t2cof * tsq;
  if (s.isimp == 0.0) {
    const double delomg = s.omgcof * tsince;
    const double delm = s.xmcof * (std::pow(1.0 + s.eta * std::cos(xmdf), 3.0) - s.delmo);
    const double temp = delomg + delm;
    xmp = xmdf + temp;
    omega = omgadf - temp;
    const double tcube = tsq * tsince;
    const double tfour = tsince * tcube;
    tempa = tempa - s.d2 * tsq - s.d3 * tcube - s.d4 * tfour;
    tempe = tempe + s.bstar * s.c5 * (std::sin(xmp) - s.sinmo);
    templ = templ + s.t3cof * tcube + tfour * (s.t4cof + tsince * s.t5cof);
  }
  const double a = s.aodp * tempa * tempa;
  double e = s.eo - tempe;
  if (!(a > 0.0)) return SGP4_ERR_AXIS;
  if (!(e <= 0.999999) || e < -0.001) return SGP4_ERR_ECC;
  if (e < 1.0e-6) e = 1.0e-6;
  const double xl = xmp + omega + xnode + s.xnodp * templ;
  const double beta = std::sqrt(1.0 - e * e);
  const double xn = SGP4_XKE / std::pow(a, 1.5);

  // Long-period periodics (J3).
  const double axn = e * std::cos(omega);
  double temp = 1.0 / (a * beta * beta);
  const double xll = temp * s.xlcof * axn;
  const double aynl = temp * s.aycof;
  const double xlt = xl + xll;
  const double ayn = e * std::sin(omega) + aynl;

  // Kepler's equation for E + omega, Newton-Raphson: at most 10 steps, to
  // 1e-12, each step limited to 1.25 times the eccentricity so that the
  // iteration cannot run off for eccentric orbits.
  const double capu = Modulus(xlt - xnode, kTwoPi);
  const double max_step = 1.25 * std::sqrt(axn * axn + ayn * ayn);
  double epw = capu;
  double sinepw = 0.0, cosepw = 1.0;
  for (int i = 0; i < 10; i++) {
    sinepw = std::sin(epw);
    cosepw = std::cos(epw);
    double step = (capu - ayn * cosepw + axn * sinepw - epw) / (1.0 - axn * cosepw - ayn * sinepw);
    if (step > max_step) step = max_step;
    if (step < -max_step) step = -max_step;
    epw += step;
    if (std::fabs(step) <= 1.0e-12) break;
  }
  sinepw = std::sin(epw);
  cosepw = std::cos(epw);

  // Short-period preliminaries.
  const double ecose = axn * cosepw + ayn * sinepw;
  const double esine = axn * sinepw - ayn * cosepw;
  const double elsq = axn * axn + ayn * ayn;
  temp = 1.0 - elsq;
  const double pl = a * temp;
  if (!(pl > 0.0)) return SGP4_ERR_SEMILATUS;
  const double r = a * (1.0 - ecose);
  double temp1 = 1.0 / r;
  const double rdot = SGP4_XKE * std::sqrt(a) * esine * temp1;
  const double rfdot = SGP4_XKE * std::sqrt(pl) * temp1;
  double temp2 = a * temp1;
  const double betal = std::sqrt(temp);
  const double temp3 = 1.0 / (1.0 + betal);
  const double cosu = temp2 * (cosepw - axn + ayn * esine * temp3);
  const double sinu = temp2 * (sinepw - ayn - axn * esine * temp3);
  const double u = std::atan2(sinu, cosu);
  const double sin2u = 2.0 * sinu * cosu;
  const double cos2u = 2.0 * cosu * cosu - 1.0;
  temp = 1.0 / pl;
  temp1 = SGP4_CK2 * temp;
  temp2 = temp1 * temp;

  // Short-period periodics (J2).
  const double rk = r * (1.0 - 1.5 * temp2 * betal * s.x3thm1) + 0.5 * temp1 * s.x1mth2 * cos2u;
  const double uk = u - 0.25 * temp2 * s.x7thm1 * sin2u;
  const double xnodek = xnode + 1.5 * temp2 * s.cosio * sin2u;
  const double xinck = s.xincl + 1.5 * temp2 * s.cosio * s.sinio * cos2u;
  const double rdotk = rdot - xn * temp1 * s.x1mth2 * sin2u;
  const double rfdotk = rfdot + xn * temp1 * (s.x1mth2 * cos2u + 1.5 * s.x3thm1);

  // Orientation vectors: U towards the satellite, V along its motion.
  const double sinuk = std::sin(uk), cosuk = std::cos(uk);
  const double sinik = std::sin(xinck), cosik = std::cos(xinck);
  const double sinnok = std::sin(xnodek), cosnok = std::cos(xnodek);
  const double xmx = -sinnok * cosik;
  const double xmy = cosnok * cosik;
  const double ux = xmx * sinuk + cosnok * cosuk;
  const double uy = xmy * sinuk + sinnok * cosuk;
  const double uz = sinik * sinuk;
  const double vx = xmx * cosuk - cosnok * sinuk;
  const double vy = xmy * cosuk - sinnok * sinuk;
  const double vz = sinik * cosuk;

  pos_km[0] = rk * ux * SGP4_XKMPER;
  pos_km[1] = rk * uy * SGP4_XKMPER;
  pos_km[2] = rk * uz * SGP4_XKMPER;
  if (vel_kms) {
    // Earth radii per minute into km/s.
    const double f = SGP4_XKMPER / 60.0;
    vel_kms[0] = (rdotk * ux + rfdotk * vx) * f;
    vel_kms[1] = (rdotk * uy + rfdotk * vy) * f;
    vel_kms[2] = (rdotk * uz + rfdotk * vz) * f;
  }
  return SGP4_OK;
}

double Modulus(double a, double b) {
  double r = std::fmod(a, b);
  if (r < 0.0) r += b;
  if (r >= b) r -= b;  // -tiny + b may round to b
  return r;
}

double orbit_julian_date(const struct tm* time, int ms) {
  struct tm t = *time;
  const time_t secs = pava::mktime_utc(&t);
  return 2415019.5 + 25568.0 + (static_cast<double>(secs) + ms / 1000.0) / 86400.0;
}

double ThetaG_JD(double jd) {
  // UT: fraction of the day since 0h; T: Julian centuries of UT1 at 0h.
  const double ut = Modulus(jd + 0.5, 1.0);
  const double t = (jd - ut - 2451545.0) / 36525.0;
  const double gmst0 = 24110.54841 + t * (8640184.812866 + t * (0.093104 - 6.2e-6 * t));
  const double sec = Modulus(gmst0 + 86636.555366976 * ut, 86400.0);
  return kTwoPi * sec / 86400.0;
}

int orbit_teme_posvel(const KEPLER* kepler, double jd, double pos_km[3], double vel_kms[3]) {
  if (!kepler->sgp4_ready) return -1;
  const double tsince = (jd - kepler->tle.epoch) * 1440.0;
  return sgp4_propagate(kepler->sgp4_params, tsince, pos_km, vel_kms);
}

void orbit_teme_to_ecef(const double teme_km[3], double jd, double ecef_km[3]) {
  const double th = ThetaG_JD(jd);
  const double c = std::cos(th), s = std::sin(th);
  ecef_km[0] = c * teme_km[0] + s * teme_km[1];
  ecef_km[1] = -s * teme_km[0] + c * teme_km[1];
  ecef_km[2] = teme_km[2];
}
