// Dense numeric vector and matrix with explicit, exact-size storage.
//
// CNumVector<T> never grows by a factor: every allocation holds exactly the
// number of elements asked for, and storage is only reused when the new size
// fits the current capacity. The calculations rely on that to keep their
// memory equal to what their results need. Element access is unchecked.
//
// The binary stream form (Read/Write) is the one the gas-table files use: a
// 32-bit little-endian element count followed by the elements as little-endian
// bytes. Counts above kMaxStreamCount are refused by setting the stream state
// to failbit (replacing the previous state) and leaving the vector unchanged. A
// stream that ends early fails; the elements it did not supply are then zero.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <istream>
#include <ostream>
#include <type_traits>
#include <utility>

namespace fiofla {
namespace detail {

/// True when the host stores numbers little-endian (the stream byte order).
constexpr bool kHostLittleEndian = (__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__);

/// Reverses the bytes of each of `count` elements of `size` bytes in place.
inline void SwapElementBytes(void* data, std::size_t count, std::size_t size) {
  auto* bytes = static_cast<unsigned char*>(data);
  for (std::size_t i = 0; i < count; ++i) std::reverse(bytes + i * size, bytes + (i + 1) * size);
}

/// Reads a 32-bit little-endian unsigned integer; leaves the stream failed on a short read.
inline bool ReadU32LE(std::istream& is, std::uint32_t& value) {
  unsigned char b[4];
  if (!is.read(reinterpret_cast<char*>(b), 4)) return false;
  value = std::uint32_t(b[0]) | (std::uint32_t(b[1]) << 8) | (std::uint32_t(b[2]) << 16) |
          (std::uint32_t(b[3]) << 24);
  return true;
}

/// Writes a 32-bit unsigned integer little-endian.
inline void WriteU32LE(std::ostream& os, std::uint32_t value) {
  const unsigned char b[4] = {
      static_cast<unsigned char>(value), static_cast<unsigned char>(value >> 8),
      static_cast<unsigned char>(value >> 16), static_cast<unsigned char>(value >> 24)};
  os.write(reinterpret_cast<const char*>(b), 4);
}

}  // namespace detail
}  // namespace fiofla

/// Dense vector of arithmetic elements (double for data, short for point flags).
template <class T>
class CNumVector {
  static_assert(std::is_arithmetic<T>::value, "CNumVector holds arithmetic elements");

 public:
  using value_type = T;
  using size_type = std::uint64_t;
  using iterator = T*;
  using const_iterator = const T*;

  /// Largest element count that Read accepts and Write produces.
  static constexpr std::uint32_t kMaxStreamCount = 10000000u;

  CNumVector() noexcept = default;
  /// n elements, all zero.
  explicit CNumVector(size_type n) { SetDim(n); }
  CNumVector(std::initializer_list<T> values) {
    Allocate(values.size());
    std::copy(values.begin(), values.end(), m_data);
  }
  /// Copies exactly `size()` elements (the copy's capacity equals its size).
  CNumVector(const CNumVector& other) {
    Allocate(other.m_size);
    std::copy(other.m_data, other.m_data + other.m_size, m_data);
  }
  CNumVector(CNumVector&& other) noexcept
      : m_size(std::exchange(other.m_size, 0)),
        m_capacity(std::exchange(other.m_capacity, 0)),
        m_data(std::exchange(other.m_data, nullptr)) {}
  ~CNumVector() { delete[] m_data; }

  /// Reuses the storage when the other vector fits, otherwise allocates exactly its size.
  CNumVector& operator=(const CNumVector& other) {
    if (this == &other) return *this;
    if (other.m_size == 0) {
      Release();
      return *this;
    }
    if (other.m_size > m_capacity) {
      T* fresh = new T[other.m_size];
      delete[] m_data;
      m_data = fresh;
      m_capacity = other.m_size;
    }
    std::copy(other.m_data, other.m_data + other.m_size, m_data);
    m_size = other.m_size;
    return *this;
  }
  CNumVector& operator=(CNumVector&& other) noexcept {
    if (this != &other) {
      delete[] m_data;
      m_size = std::exchange(other.m_size, 0);
      m_capacity = std::exchange(other.m_capacity, 0);
      m_data = std::exchange(other.m_data, nullptr);
    }
    return *this;
  }

  /// Number of elements in use.
  size_type size() const noexcept { return m_size; }
  /// Number of elements allocated.
  size_type capacity() const noexcept { return m_capacity; }
  bool empty() const noexcept { return m_size == 0; }

  T& operator[](size_type i) noexcept { return m_data[i]; }
  const T& operator[](size_type i) const noexcept { return m_data[i]; }
  T* data() noexcept { return m_data; }
  const T* data() const noexcept { return m_data; }
  iterator begin() noexcept { return m_data; }
  iterator end() noexcept { return m_data + m_size; }
  const_iterator begin() const noexcept { return m_data; }
  const_iterator end() const noexcept { return m_data + m_size; }

  /// Gives the vector n elements.
  ///
  /// keepContents = false: all n elements become zero; the storage is reused
  /// when 0 < n <= capacity, otherwise exactly n elements are allocated.
  /// keepContents = true: the first min(size, n) elements keep their values and
  /// any further ones are zero; shrinking, or growing within the capacity, only
  /// changes the size.
  /// n = 0 releases the storage in either mode.
  void SetDim(size_type n, bool keepContents = false) {
    if (n == 0) {
      Release();
      return;
    }
    if (n <= m_capacity) {
      if (!keepContents)
        std::fill(m_data, m_data + n, T(0));
      else if (n > m_size)
        std::fill(m_data + m_size, m_data + n, T(0));
      m_size = n;
      return;
    }
    T* fresh = NewArray(n);
    const size_type kept = keepContents ? std::min(m_size, n) : 0;
    std::copy(m_data, m_data + kept, fresh);
    std::fill(fresh + kept, fresh + n, T(0));
    delete[] m_data;
    m_data = fresh;
    m_size = m_capacity = n;
  }

  /// Reads the binary stream form; see the file comment for the layout and limits.
  std::istream& Read(std::istream& is) {
    std::uint32_t count = 0;
    if (!fiofla::detail::ReadU32LE(is, count)) return is;
    if (count > kMaxStreamCount) {
      is.clear(std::ios::failbit);
      return is;
    }
    if (count == 0 || count > m_capacity) {
      Release();
      if (count != 0) Allocate(count);
    }
    m_size = count;
    if (count != 0) {
      const std::streamsize bytes = std::streamsize(count) * std::streamsize(sizeof(T));
      is.read(reinterpret_cast<char*>(m_data), bytes);
      // A short read leaves the stream failed; the elements it did not complete are
      // zeroed so that nothing indeterminate is ever exposed.
      if (is.gcount() < bytes) {
        const std::size_t whole = std::size_t(is.gcount()) / sizeof(T);
        std::fill(m_data + whole, m_data + count, T(0));
      }
      if (!fiofla::detail::kHostLittleEndian)
        fiofla::detail::SwapElementBytes(m_data, count, sizeof(T));
    }
    return is;
  }

  /// Writes the binary stream form. A vector longer than kMaxStreamCount could
  /// not be read back, so nothing is written and the stream is set to failbit.
  std::ostream& Write(std::ostream& os) const {
    if (m_size > kMaxStreamCount) {
      os.setstate(std::ios::failbit);
      return os;
    }
    fiofla::detail::WriteU32LE(os, static_cast<std::uint32_t>(m_size));
    if (m_size == 0) return os;
    if (fiofla::detail::kHostLittleEndian) {
      os.write(reinterpret_cast<const char*>(m_data), std::streamsize(m_size * sizeof(T)));
    } else {
      CNumVector swapped(*this);
      fiofla::detail::SwapElementBytes(swapped.m_data, m_size, sizeof(T));
      os.write(reinterpret_cast<const char*>(swapped.m_data), std::streamsize(m_size * sizeof(T)));
    }
    return os;
  }

  friend bool operator==(const CNumVector& a, const CNumVector& b) {
    return a.m_size == b.m_size && std::equal(a.begin(), a.end(), b.begin());
  }
  friend bool operator!=(const CNumVector& a, const CNumVector& b) { return !(a == b); }

 private:
  // new T[n] throws std::bad_array_new_length when n * sizeof(T) overflows.
  static T* NewArray(size_type n) { return new T[static_cast<std::size_t>(n)]; }
  void Allocate(size_type n) {
    m_data = n ? NewArray(n) : nullptr;
    m_size = m_capacity = n;
  }
  void Release() noexcept {
    delete[] m_data;
    m_data = nullptr;
    m_size = m_capacity = 0;
  }

  size_type m_size = 0;
  size_type m_capacity = 0;
  T* m_data = nullptr;
};

/// Dense matrix stored as an owned array of rows; element (r, c) is element c of row r.
template <class T>
class CNumMatrix {
 public:
  using size_type = std::uint64_t;

  CNumMatrix() noexcept = default;
  /// rows x cols elements, all zero.
  CNumMatrix(size_type rows, size_type cols) { SetDim(rows, cols); }
  CNumMatrix(const CNumMatrix& other) { CopyFrom(other); }
  CNumMatrix(CNumMatrix&& other) noexcept
      : m_rows(std::exchange(other.m_rows, 0)),
        m_cols(std::exchange(other.m_cols, 0)),
        m_data(std::exchange(other.m_data, nullptr)) {}
  ~CNumMatrix() { Release(); }

  CNumMatrix& operator=(const CNumMatrix& other) {
    if (this != &other) {
      CNumMatrix copy(other);
      *this = std::move(copy);
    }
    return *this;
  }
  CNumMatrix& operator=(CNumMatrix&& other) noexcept {
    if (this != &other) {
      Release();
      m_rows = std::exchange(other.m_rows, 0);
      m_cols = std::exchange(other.m_cols, 0);
      m_data = std::exchange(other.m_data, nullptr);
    }
    return *this;
  }

  size_type rows() const noexcept { return m_rows; }
  size_type cols() const noexcept { return m_cols; }
  /// Row r; its elements are the columns.
  CNumVector<T>& operator[](size_type r) noexcept { return m_data[r]; }
  const CNumVector<T>& operator[](size_type r) const noexcept { return m_data[r]; }
  T& operator()(size_type r, size_type c) noexcept { return m_data[r][c]; }
  const T& operator()(size_type r, size_type c) const noexcept { return m_data[r][c]; }

  /// Resizes to rows x cols with the flag meaning of CNumVector::SetDim; zero rows releases all
  /// rows.
  void SetDim(size_type rows, size_type cols, bool keepContents = false) {
    if (rows == 0) {
      Release();
      return;
    }
    if (rows != m_rows) {
      auto* fresh = new CNumVector<T>[static_cast<std::size_t>(rows)];
      if (keepContents)
        for (size_type r = 0; r < std::min(rows, m_rows); ++r) fresh[r] = std::move(m_data[r]);
      Release();
      m_data = fresh;
    }
    for (size_type r = 0; r < rows; ++r) m_data[r].SetDim(cols, keepContents);
    m_rows = rows;
    m_cols = cols;
  }

 private:
  void CopyFrom(const CNumMatrix& other) {
    m_rows = other.m_rows;
    m_cols = other.m_cols;
    if (other.m_data == nullptr) return;
    m_data = new CNumVector<T>[static_cast<std::size_t>(m_rows)];
    for (size_type r = 0; r < m_rows; ++r) m_data[r] = other.m_data[r];
  }
  // delete[] destroys the rows from the last to the first, then frees the row array.
  void Release() noexcept {
    delete[] m_data;
    m_data = nullptr;
    m_rows = m_cols = 0;
  }

  size_type m_rows = 0;
  size_type m_cols = 0;
  CNumVector<T>* m_data = nullptr;
};

/// Allocates a row-pointer matrix: rows + 1 pointers, each of the first `rows`
/// owning `cols` zeroed doubles, the last one null as terminator.
double** NewMatrix(unsigned short rows, unsigned short cols);
/// Frees a matrix from NewMatrix: the rows up to the null terminator, then the
/// pointer array. Does nothing for null.
void DeleteMatrix(double** matrix);
