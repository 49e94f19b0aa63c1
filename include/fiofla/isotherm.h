// Whole-isotherm reduction: the gas arithmetic of gascalc.h applied point by point to the
// series of an analysis, plus the pressure conversions around it.
//
// Quantities go from cm3 STP in the tube (dosed) to cm3 STP per gram adsorbed and back;
// pressures from the manifold reading to the sample (thermal transpiration) and between
// absolute (mmHg) and relative (P/Po). DifferentialIsotherm subtracts a reference
// isotherm, linearly interpolated (CNumInterpolate, eLinear) at the sample's pressures.
// Cost: O(n) per call; DifferentialIsotherm O(n (n + m)) for its row matching, with n and m
// the lengths of the two isotherms.
//
// Units: pressures mmHg, temperatures K, quantities cm3 STP (adsorbed per gram: cm3/g
// STP), sample mass m in g, alpha in 1/mmHg, Vm in cm3/mol.
//
// Choices made here (documented so callers can rely on them):
// - Every function first sizes its output to the length of its leading series (the
//   quantity q or a, the pressures P for the conversions, P1 for DifferentialIsotherm)
//   with SetDim(n, true): contents kept, extra places zero. Points a conversion stops
//   short of therefore keep what the output held before the call.
// - A parallel input shorter than the leading series is never read past its end: its
//   missing elements count as 0 (pressure 0 mmHg, quantity 0, temperatures 0 K, time
//   stamp 0 = start of the run). A point with no temperatures is thus left uncorrected
//   by MeasuredToAbsolutePressure and takes no displaced-gas correction.
// - Free spaces are read with their offset; the free space's third value is the factor
//   form's f2.
// - The pressure conversions stop at the first point whose Po is <= 0 or not finite and
//   return false; a NaN or infinite Po would otherwise spread silently through P/Po.
// - In the table form a point whose gas has no compressibility at ambient temperature
//   (gas(P, Tamb) <= 0) uses the analysis temperature as ambient; with one
//   CTemperatureInfo the switch holds for the rest of the call, since the condition
//   belongs to the run, while a per-point temperature list decides point by point.
// - FindMatchingRow skips zero elements (unfilled rows) and elements at a NaN distance.
//   DifferentialIsotherm ignores reference rows where both P2 and q2 are 0; a non-finite
//   reference pressure does not widen the range.
#pragma once

#include <vector>

#include "fiofla/compress.h"
#include "fiofla/free_space.h"
#include "fiofla/gascalc.h"
#include "fiofla/num/numvector.h"
#include "fiofla/po_and_t.h"
#include "fiofla/str/timeinterval.h"

namespace NIsotherm {

/// Chemisorption adsorbed per gram, cm3/g STP: (q - (P / 760) Vana) / m, q in cm3 STP.
void OldTorvChemiQuantityAdsorbed(CNumVector<double>& out, CNumVector<double> const& q,
                                  CNumVector<double> const& P, double m, CFreeSpace const& fs);
/// Quantity dosed, cm3 STP, for adsorbed a (cm3/g STP): m a + Vana P (1 + P alpha) / 760.
void VorlanQuantityDosed(CNumVector<double>& out, CNumVector<double> const& a,
                         CNumVector<double> const& P, double m, CFreeSpace const& fs, double alpha);
/// Adsorbed per gram, cm3/g STP, for dosed q (cm3 STP): (q - Vana P (1 + P alpha) / 760) / m.
void VorlanQuantityAdsorbed(CNumVector<double>& out, CNumVector<double> const& q,
                            CNumVector<double> const& P, double m, CFreeSpace const& fs,
                            double alpha);
/// Adsorbed per gram by the factor form, cm3/g STP, for dosed q (cm3 STP) at the analysis
/// temperature of t; f2 is the free space's third value.
void QuantityAdsorbed(CNumVector<double>& out, CNumVector<double> const& q,
                      CNumVector<double> const& P, double m, CFreeSpace const& fs,
                      CTemperatureInfo const& t, double alpha, double f1);
/// Quantity dosed by the factor form, cm3 STP, for adsorbed a (cm3/g STP); inverse of the
/// factor-form QuantityAdsorbed.
void QuantityDosed(CNumVector<double>& out, CNumVector<double> const& a,
                   CNumVector<double> const& P, double m, CFreeSpace const& fs,
                   CTemperatureInfo const& t, double alpha, double f1);
/// Quantity dosed by the table form, cm3 STP, for adsorbed a (cm3/g STP).
void QuantityDosed(CNumVector<double>& out, CNumVector<double> const& a,
                   CNumVector<double> const& P, double m, CFreeSpace const& fs,
                   CTemperatureInfo const& t, CGasCompressibilityBase const& gas);
/// Adsorbed per gram by the table form, cm3/g STP, for dosed q (cm3 STP); adsorbed phase of
/// molar volume Vm (cm3/mol, 0 = none). Ambient switches to analysis temperature for good
/// once gas(P, Tamb) <= 0.
void QuantityAdsorbed(CNumVector<double>& out, CNumVector<double> const& q,
                      CNumVector<double> const& P, double m, CFreeSpace const& fs,
                      CTemperatureInfo const& t, CGasCompressibilityBase const& gas, double Vm);
/// As the table-form QuantityAdsorbed with temperatures per point and Vm = 0, cm3/g STP; the
/// ambient switch is decided per point.
void ChemiQuantityAdsorbed(CNumVector<double>& out, CNumVector<double> const& q,
                           CNumVector<double> const& P, double m, CFreeSpace const& fs,
                           std::vector<CChemiTemperatureInfo> const& temps,
                           CGasCompressibilityBase const& gas);
/// Adsorbed per gram on a high-pressure system, cm3/g STP: h.QuantityAdsorbed with total
/// free volume Vana, sample at the point's analysis and manifold at its ambient temperature.
void HTPChemiQuantityAdsorbed(CNumVector<double>& out, CGasCalculationHTP const& h,
                              CNumVector<double> const& q, CNumVector<double> const& P, double m,
                              CFreeSpace const& fs, std::vector<CChemiTemperatureInfo> const& temps,
                              CGasCompressibilityBase const& gas);

/// Relative pressure P / Po(time); false when it stopped at a Po <= 0 or not finite.
bool AbsoluteToRelativePressure(CNumVector<double>& out, CNumVector<double> const& P,
                                std::vector<CTimeInterval> const& times, CPoInfo const& po);
/// Absolute pressure rel x Po(time), mmHg; false when it stopped at a Po <= 0 or not finite.
bool RelativeToAbsolutePressure(CNumVector<double>& out, CNumVector<double> const& rel,
                                std::vector<CTimeInterval> const& times, CPoInfo const& po);
/// Sample pressure (mmHg) from manifold pressure P (mmHg), gas factor g, tube inside
/// diameter d; from the first point whose transpiration ratio reaches ratioLimit on, the
/// measured pressure is taken unchanged (limit 0: no correction at all).
void MeasuredToAbsolutePressure(CNumVector<double>& out, CNumVector<double> const& P, double g,
                                double d, CTemperatureInfo const& t, double ratioLimit);
/// Sample pressure (mmHg) with temperatures per point; an ambient <= 0 reads as 298 K, and a
/// point with P <= 0 or analysis temperature <= 0 keeps its measured pressure.
void MeasuredToAbsolutePressure(CNumVector<double>& out, CNumVector<double> const& P, double g,
                                double d, std::vector<CChemiTemperatureInfo> temps);

/// q1 less the reference isotherm (P2, q2) interpolated at P1, cm3/g STP, with the pressure
/// it belongs to (mmHg); 0 in both where P1 lies outside the reference's range and has no
/// matching row.
void DifferentialIsotherm(CNumVector<double>& difference, CNumVector<double>& pressure,
                          CNumVector<double> const& q1, CNumVector<double> const& P1,
                          CNumVector<double> const& q2, CNumVector<double> const& P2);
/// Index k of the non-zero B[k] nearest A[i] when, in turn, A[i] is the non-zero element of A
/// nearest B[k]; -1 otherwise (also for i out of range or no non-zero B).
int FindMatchingRow(CNumVector<double> const& A, CNumVector<double> const& B, int i);

}  // namespace NIsotherm
