// Time stamp of a measured point: whole milliseconds since the start of the run.
//
// A 32-bit count covers about 49.7 days, far beyond any sorption run, and keeps
// the stamp as small as the point data stored beside it. FromSeconds rounds to
// the nearest millisecond and saturates instead of wrapping: negative seconds
// and NaN give 0, anything at or beyond 2^32 - 1 ms (including +infinity) gives
// the maximum, so a bad clock value can never masquerade as a plausible one.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

/// Milliseconds since the start of the run, as an unsigned 32-bit count.
class CTimeInterval {
 public:
  /// Largest representable stamp [ms].
  static constexpr std::uint32_t kMaxMilliseconds = std::numeric_limits<std::uint32_t>::max();

  /// The start of the run (0 ms).
  constexpr CTimeInterval() noexcept = default;
  /// A stamp of `milliseconds` [ms].
  constexpr explicit CTimeInterval(std::uint32_t milliseconds) noexcept : m_ms(milliseconds) {}

  /// Stamp from seconds [s], rounded to the nearest ms (halves away from zero),
  /// saturated to [0, kMaxMilliseconds]; NaN gives 0.
  static CTimeInterval FromSeconds(double seconds) noexcept {
    if (!(seconds > 0.0)) return CTimeInterval();
    const double ms = std::round(seconds * 1000.0);
    // Checked before the cast: converting a double beyond the range is undefined.
    if (ms >= double(kMaxMilliseconds)) return CTimeInterval(kMaxMilliseconds);
    return CTimeInterval(static_cast<std::uint32_t>(ms));
  }

  /// The stamp [ms].
  constexpr std::uint32_t GetMilliseconds() const noexcept { return m_ms; }
  /// The stamp [s].
  constexpr double GetSeconds() const noexcept { return m_ms / 1000.0; }
  /// Completed minutes of the stamp [min], i.e. ms / 60000 rounded down.
  constexpr std::uint32_t GetWholeMinutes() const noexcept { return m_ms / 60000u; }

  /// Same instant.
  friend constexpr bool operator==(CTimeInterval a, CTimeInterval b) noexcept {
    return a.m_ms == b.m_ms;
  }
  /// Different instants.
  friend constexpr bool operator!=(CTimeInterval a, CTimeInterval b) noexcept {
    return a.m_ms != b.m_ms;
  }
  /// `a` is earlier than `b`.
  friend constexpr bool operator<(CTimeInterval a, CTimeInterval b) noexcept {
    return a.m_ms < b.m_ms;
  }
  /// `a` is not later than `b`.
  friend constexpr bool operator<=(CTimeInterval a, CTimeInterval b) noexcept {
    return a.m_ms <= b.m_ms;
  }
  /// `a` is later than `b`.
  friend constexpr bool operator>(CTimeInterval a, CTimeInterval b) noexcept {
    return a.m_ms > b.m_ms;
  }
  /// `a` is not earlier than `b`.
  friend constexpr bool operator>=(CTimeInterval a, CTimeInterval b) noexcept {
    return a.m_ms >= b.m_ms;
  }

 private:
  std::uint32_t m_ms = 0;
};

static_assert(sizeof(CTimeInterval) == 4, "CTimeInterval is stored beside every measured point");
