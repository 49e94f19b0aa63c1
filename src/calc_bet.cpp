#include "fiofla/calc_bet.h"

#include <algorithm>
#include <cmath>

#include "fiofla/num/linefit.h"

namespace {

constexpr double kAvogadro = 6.02214129e23;
// Molar volume at STP, 22414 cm^3/mol, times 1e18 nm^2/m^2 folded in.
constexpr double kMolarVolumeNm2 = 2.2414e22;
constexpr double kDivideGuard = 1e-30;

}  // namespace

CCalcBET::CCalcBET() : crossSectionalArea(1.0), status(STATUS_TOO_FEW_POINTS) {
  SetAllToZero();
}

CCalcBET::CCalcBET(const SInput& input)
    : crossSectionalArea(input.crossSectionalArea),
      relativePressure(input.relativePressure),
      quantityAdsorbed(input.quantityAdsorbed),
      pointFlags(input.pointFlags),
      status(STATUS_OK) {
  SetAllToZero();

  const auto n = relativePressure.size();
  fitRelativePressure.SetDim(n);
  fitQuantity.SetDim(n);
  otherRelativePressure.SetDim(n);
  otherQuantity.SetDim(n);

  CNumVector<double>::size_type nFit = 0;
  CNumVector<double>::size_type nOther = 0;
  for (CNumVector<double>::size_type i = 0; i < n; ++i) {
    const double x = relativePressure[i];
    // A point without a flag word or a quantity (shorter input vectors) takes part in nothing.
    const short flags =
        (i < pointFlags.size() && i < quantityAdsorbed.size()) ? pointFlags[i] : short(0);
    const bool included = (flags & POINT_INCLUDED) != 0;
    const bool inRange = (flags & POINT_IN_RANGE) != 0;
    if (x >= 1.0 && (included || inRange)) {
      status = STATUS_POINT_ABOVE_SATURATION;
    } else if (inRange) {
      if (included) {
        fitRelativePressure[nFit] = x;
        fitQuantity[nFit] = quantityAdsorbed[i];
        ++nFit;
      }
    } else if (included) {
      otherRelativePressure[nOther] = x;
      otherQuantity[nOther] = quantityAdsorbed[i];
      ++nOther;
    }
  }
  fitRelativePressure.SetDim(nFit, true);
  fitQuantity.SetDim(nFit, true);
  otherRelativePressure.SetDim(nOther, true);
  otherQuantity.SetDim(nOther, true);

  Transform(fitRelativePressure, fitQuantity, fitTransform);
  Transform(otherRelativePressure, otherQuantity, otherTransform);
  TransformCheck(fitRelativePressure, fitQuantity, fitCheck);
  TransformCheck(otherRelativePressure, otherQuantity, otherCheck);

  if (nFit > 1) {
    DoLineFit();
  } else {
    status = STATUS_TOO_FEW_POINTS;
    SetAllToZero();
  }
  DoIsoCalc();
}

CCalcBET::~CCalcBET() = default;

void CCalcBET::SetAllToZero() {
  surfaceArea = 0.0;
  surfaceAreaError = 0.0;
  slope = 0.0;
  slopeError = 0.0;
  yIntercept = 0.0;
  yInterceptError = 0.0;
  cValue = 0.0;
  monolayerCapacity = 0.0;
  correlation = 0.0;
}

double CCalcBET::Transform(double relativePressure, double quantity) {
  const double d = (1.0 - relativePressure) * quantity;
  return std::fabs(d) < kDivideGuard ? relativePressure / kDivideGuard : relativePressure / d;
}

bool CCalcBET::Transform(const CNumVector<double>& relativePressure,
                         const CNumVector<double>& quantity, CNumVector<double>& out) {
  out.SetDim(quantity.size());
  for (CNumVector<double>::size_type i = 0; i < quantity.size(); ++i)
    out[i] = Transform(relativePressure[i], quantity[i]);
  return true;
}

bool CCalcBET::TransformCheck(const CNumVector<double>& relativePressure,
                              const CNumVector<double>& quantity, CNumVector<double>& out) {
  out.SetDim(quantity.size());
  for (CNumVector<double>::size_type i = 0; i < quantity.size(); ++i)
    out[i] = (1.0 - relativePressure[i]) * quantity[i];
  return true;
}

bool CCalcBET::DoLineFit() {
  // The transform is recomputed from the range points, so a caller who edits them and
  // calls DoLineFit again gets a consistent fit; it goes into fitTransform, whose storage
  // already has the right size, instead of a temporary that would cost an allocation.
  Transform(fitRelativePressure, fitQuantity, fitTransform);
  CNumLineFit fit(fitRelativePressure.size(), fitRelativePressure.data(), fitTransform.data(),
                  CNumLineFit::eOrdinaryLeastSquares);
  fit.CalculateVariance();

  slope = fit.Slope();
  slopeError = std::sqrt(fit.VarSlope());
  yIntercept = fit.YIntercept();
  yInterceptError = std::sqrt(fit.VarYIntercept());
  correlation = fit.Correlation();

  if (yIntercept == 0.0) {
    status = STATUS_ZERO_INTERCEPT;
    return false;
  }
  const double s = slope + yIntercept;
  surfaceArea = crossSectionalArea * kAvogadro / (s * kMolarVolumeNm2);
  cValue = s / yIntercept;
  surfaceAreaError =
      surfaceArea * std::sqrt(slopeError * slopeError + yInterceptError * yInterceptError) / s;
  monolayerCapacity = 1.0 / (cValue * yIntercept);
  return true;
}

bool CCalcBET::DoIsoCalc() {
  const double c = cValue;
  const double qm = monolayerCapacity;
  calculatedIsotherm.SetDim(relativePressure.size());
  for (CNumVector<double>::size_type i = 0; i < relativePressure.size(); ++i) {
    const double x = relativePressure[i];
    double d = (1.0 - x) * (1.0 + (c - 1.0) * x);
    if (std::fabs(d) < kDivideGuard) d = kDivideGuard;
    calculatedIsotherm[i] = c * qm * x / d;
  }
  return true;
}

namespace fiofla {

const char* BETStatusText(std::int16_t status) {
  switch (status) {
    case CCalcBET::STATUS_OK:
      return "ok";
    case CCalcBET::STATUS_POINT_ABOVE_SATURATION:
      return "ok, but a point at relative pressure >= 1 was dropped";
    case CCalcBET::STATUS_TOO_FEW_POINTS:
      return "fewer than two points in the BET range";
    case CCalcBET::STATUS_ZERO_INTERCEPT:
      return "the BET line could not be fitted (zero intercept)";
    default:
      return "unknown status";
  }
}

// Relative slack of the range bounds (see the header).
constexpr double kBoundSlack = 1e-12;

CCalcBET::SInput MakeBETInput(const std::vector<double>& relativePressure,
                              const std::vector<double>& quantityCm3PerGStp,
                              const std::vector<Branch>& branch, double rangeLow, double rangeHigh,
                              double crossSectionNm2) {
  const std::size_t n =
      std::min({relativePressure.size(), quantityCm3PerGStp.size(), branch.size()});
  CCalcBET::SInput input;
  input.crossSectionalArea = crossSectionNm2;
  input.relativePressure.SetDim(n);
  input.quantityAdsorbed.SetDim(n);
  input.pointFlags.SetDim(n);
  for (std::size_t i = 0; i < n; ++i) {
    const double x = relativePressure[i];
    input.relativePressure[i] = x;
    input.quantityAdsorbed[i] = quantityCm3PerGStp[i];
    // BET describes adsorption; desorption points stay in the isotherm but take no part.
    short flags = 0;
    if (branch[i] == Branch::kAdsorption) {
      flags = CCalcBET::POINT_INCLUDED;
      if (x >= rangeLow - kBoundSlack * std::fabs(rangeLow) &&
          x <= rangeHigh + kBoundSlack * std::fabs(rangeHigh))
        flags |= CCalcBET::POINT_IN_RANGE;
    }
    input.pointFlags[i] = flags;
  }
  return input;
}

}  // namespace fiofla
