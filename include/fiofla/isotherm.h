// Isotherm reduction over series: quantities dosed to quantities adsorbed per gram and
// back, absolute to relative pressure and back, manifold to sample pressure (thermal
// transpiration), and the difference between two isotherms.
//
// Every function is free, works point by point over parallel CNumVector<double> series,
// and first re-sizes its output to the length of the leading input series (growing it
// with zeros or cutting it; elements already there are kept). The gas arithmetic is
// CGasCalculation's; free space is read with its offset (GetAmbientFS(true),
// GetAnalysisFS(true)); sample mass m is in g, quantities in cm3 STP (per gram when
// adsorbed), pressures in mmHg.
//
// Choices:
// - A parallel input shorter than the leading series (pressures, time stamps, the
//   per-point temperatures) is never read past its end: its missing elements count as
//   0 (a pressure, time stamp 0) or as a temperature record of zeros.
// - The two pressure conversions also stop at a Po that is not a number.
#pragma once

#include <vector>

#include "fiofla/free_space.h"
#include "fiofla/gascalc.h"
#include "fiofla/num/numvector.h"
#include "fiofla/po_and_t.h"
#include "fiofla/str/timeinterval.h"

namespace NIsotherm {

/// ChemiTorvQuantityAdsorbed(q[i], Vana, P[i]) / m, cm3 STP/g.
void OldTorvChemiQuantityAdsorbed(CNumVector<double>& out, CNumVector<double> const& q,
                                  CNumVector<double> const& P, double m, CFreeSpace const& fs);
/// VorlanQuantityDosed(m a[i], Vana, P[i], alpha), cm3 STP.
void VorlanQuantityDosed(CNumVector<double>& out, CNumVector<double> const& a,
                         CNumVector<double> const& P, double m, CFreeSpace const& fs, double alpha);
/// VorlanQuantityAdsorbed(q[i], Vana, P[i], alpha) / m, cm3 STP/g.
void VorlanQuantityAdsorbed(CNumVector<double>& out, CNumVector<double> const& q,
                            CNumVector<double> const& P, double m, CFreeSpace const& fs,
                            double alpha);
/// Factor form: VolumeAdsorbed(q[i], Vamb, Vana, P[i], Tana, alpha, f1, f2 = third) / m.
void QuantityAdsorbed(CNumVector<double>& out, CNumVector<double> const& q,
                      CNumVector<double> const& P, double m, CFreeSpace const& fs,
                      CTemperatureInfo const& t, double alpha, double f1);
/// Factor form: QuantityDosed(m a[i], Vamb, Vana, P[i], Tana, alpha, f1, f2 = third), cm3 STP.
void QuantityDosed(CNumVector<double>& out, CNumVector<double> const& a,
                   CNumVector<double> const& P, double m, CFreeSpace const& fs,
                   CTemperatureInfo const& t, double alpha, double f1);
/// Table form: VolumeDosed(m a[i], Vamb, Vana, P[i], Tamb, Tana, gas), cm3 STP.
void QuantityDosed(CNumVector<double>& out, CNumVector<double> const& a,
                   CNumVector<double> const& P, double m, CFreeSpace const& fs,
                   CTemperatureInfo const& t, CGasCompressibilityBase const& gas);
/// Table form: VolumeAdsorbed(q[i], Vamb, Vana, P[i], Tamb, Tana, gas, Vm) / m, cm3 STP/g;
/// once gas(P[i], Tamb) <= 0 the analysis temperature stands in for the ambient one for
/// the rest of the call.
void QuantityAdsorbed(CNumVector<double>& out, CNumVector<double> const& q,
                      CNumVector<double> const& P, double m, CFreeSpace const& fs,
                      CTemperatureInfo const& t, CGasCompressibilityBase const& gas, double Vm);
/// As the table form with temperatures per point and no displacement correction.
void ChemiQuantityAdsorbed(CNumVector<double>& out, CNumVector<double> const& q,
                           CNumVector<double> const& P, double m, CFreeSpace const& fs,
                           std::vector<CChemiTemperatureInfo> const& temps,
                           CGasCompressibilityBase const& gas);
/// h.QuantityAdsorbed(q[i], Vana, P[i], Tana_i, Tamb_i, gas) / m, cm3 STP/g.
void HTPChemiQuantityAdsorbed(CNumVector<double>& out, CGasCalculationHTP const& h,
                              CNumVector<double> const& q, CNumVector<double> const& P, double m,
                              CFreeSpace const& fs, std::vector<CChemiTemperatureInfo> const& temps,
                              CGasCompressibilityBase const& gas);
/// P[i] / Po(time[i]); false, stopping there, at the first Po that is not positive.
bool AbsoluteToRelativePressure(CNumVector<double>& out, CNumVector<double> const& P,
                                std::vector<CTimeInterval> const& times, CPoInfo const& po);
/// rel[i] Po(time[i]), mmHg; false, stopping there, at the first Po that is not positive.
bool RelativeToAbsolutePressure(CNumVector<double>& out, CNumVector<double> const& rel,
                                std::vector<CTimeInterval> const& times, CPoInfo const& po);
/// Sample pressures from manifold pressures, mmHg, corrected until the transpiration
/// ratio reaches ratioLimit; from that point on the measured pressures stand.
void MeasuredToAbsolutePressure(CNumVector<double>& out, CNumVector<double> const& P, double g,
                                double d, CTemperatureInfo const& t, double ratioLimit);
/// Sample pressures with temperatures per point (ambient <= 0 read as 298 K); every point
/// with P > 0 and Tana > 0 is corrected.
void MeasuredToAbsolutePressure(CNumVector<double>& out, CNumVector<double> const& P, double g,
                                double d, std::vector<CChemiTemperatureInfo> temps);
/// q1 over P1 less the reference q2 over P2 (interpolated linearly), with the pressures
/// used; 0 in both outputs where P1 lies outside the reference and has no mutual match.
void DifferentialIsotherm(CNumVector<double>& difference, CNumVector<double>& pressure,
                          CNumVector<double> const& q1, CNumVector<double> const& P1,
                          CNumVector<double> const& q2, CNumVector<double> const& P2);
/// Index in B of the non-zero element nearest A[i] when A[i] is in turn the nearest non-zero
/// element of A to it; -1 otherwise.
int FindMatchingRow(CNumVector<double> const& A, CNumVector<double> const& B, int i);

}  // namespace NIsotherm
