// Included in the midst of a set's file, which defines Doubles, a vector, and its multiplyAdd(), which rounds once.
//
// A sine is computed as a sum of two doubles that is known to 0.005 of the last place. It is rounded to one double only
// where any library that errs by less than 0.55 of the last place gives that double, too: where the sum lies more than
// 0.055 from the middle between two doubles. The C library computes the others, about one in nine, and whatever the
// reduction is not made for. So what is returned is the C library's, to the bit.

constexpr int lanes = sizeof(Doubles) / sizeof(double);
using Words = long long __attribute__((vector_size(sizeof(Doubles))));

inline Doubles all(double value) { return value - Doubles{}; }
inline Doubles load(const double *from) {
  Doubles values;
  __builtin_memcpy(&values, from, sizeof values);
  return values;
}
inline void store(double *to, Doubles values) { __builtin_memcpy(to, &values, sizeof values); }

/// How far the sum may lie from the double it is rounded to, in units of the last place: 0.5 less 0.05, by which the
/// library's error may pass the middle, and less 0.005, by which the sum may be wrong.
constexpr double safeDistance = 0.5 - 0.05 - 0.005;

/// Arguments from here on are the library's: 2^22. Below, what the first double lacks of pi comes to less than 2^-32 in
/// the multiple that is subtracted, and what both doubles lack to less than 2^-87.
constexpr double farArgument = 4194304.0;

/// Nearer to a multiple of pi than this, 2^-20, are the library's, too, and so are zeros. Thus what is lacking stays
/// under 2^-67 of the reduced argument.
constexpr double nearMultiple = 0x1p-20;

// Pi is the sum of two doubles but for 2^-108.
constexpr double piFirst = 0x1.921fb54442d18p+1;
constexpr double piSecond = 0x1.1a62633145c07p-53;
constexpr double inversePi = 0x1.45f306dc9c883p-2;

// sin(r) / r = 1 + z (s3 + z (s5 + z (s7 + … z s19))), where z is the square of r, up to r = pi/2. s3 to s7 are
// Taylor's; the others are fitted to the rest so that the largest relative error is least, 2^-68.5. The first two are
// sums of two doubles. The rounding of s7's sum comes to 2^-61.4 of the largest sine, or 0.003 of the last place; all
// others together stay under 0.001.
constexpr double s3 = -0x1.5555555555555p-3, s3Rest = -0x1.5555555555555p-57;
constexpr double s5 = 0x1.1111111111111p-7, s5Rest = 0x1.1111111111111p-63;
constexpr double s7 = -0x1.a01a01a01a01ap-13;
constexpr double s9 = 0x1.71de3a556c403p-19;
constexpr double s11 = -0x1.ae64567eecb97p-26;
constexpr double s13 = 0x1.612460e6b3de8p-33;
constexpr double s15 = -0x1.ae7ef8b8423afp-41;
constexpr double s17 = 0x1.950cd4ea38c55p-49;
constexpr double s19 = -0x1.27d35c34b357bp-57;

inline Doubles magnitude(Doubles values) {
  return reinterpret_cast<Doubles>(reinterpret_cast<Words>(values) & 0x7fffffffffffffffLL);
}

/// The sum of two doubles, of which the second is small.
struct Pair {
  Doubles first;
  Doubles rest;
};

/// a b + c, where a and b are sums of two doubles and c outweighs a b by two or more: the difference of c and the
/// rounded sum is exact then, and adding the product to it again leaves what the rounding lost.
inline Pair multiplyAdd(Pair a, Pair b, double c) {
  const Doubles first = multiplyAdd(a.first, b.first, all(c));
  Doubles rest = multiplyAdd(a.first, b.first, all(c) - first);
  rest = multiplyAdd(a.first, b.rest, rest);
  return {first, multiplyAdd(a.rest, b.first, rest)};
}

/// The sine, or the cosine, of x. Lanes of `known` are -1 where it is the library's, 0 where it need not be.
template <bool cosine>
inline Doubles wave(Doubles x, Words *known) {
  // Adding 1.5 times 2^52 leaves a whole number in the lowest bits. A cosine is a sine a quarter of a turn further on,
  // so its multiples of pi lie between the whole ones.
  constexpr double toWhole = 0x1.8p52;
  const Doubles halfTurns =
      cosine ? multiplyAdd(x, all(inversePi), all(0.5)) + toWhole : multiplyAdd(x, all(inversePi), all(toWhole));
  const Doubles multiple = cosine ? halfTurns - toWhole - 0.5 : halfTurns - toWhole;

  // Where x is 1 or more, x and the multiple of piFirst are multiples of 2^-52, and so is their difference, which is
  // below 2: it is exact. Where x is less, a sine subtracts nothing, and a cosine half of piFirst, which may round.
  const Doubles most = multiplyAdd(-multiple, all(piFirst), x);
  Pair r;
  r.first = multiplyAdd(-multiple, all(piSecond), most);
  r.rest = multiplyAdd(-multiple, all(piSecond), most - r.first);
  if (cosine) r.rest += x - multiplyAdd(multiple, all(piFirst), most);

  Pair z;
  z.first = r.first * r.first;
  z.rest = multiplyAdd(r.first + r.first, r.rest, multiplyAdd(r.first, r.first, -z.first));
  Doubles tail = multiplyAdd(z.first, all(s19), all(s17));
  tail = multiplyAdd(z.first, tail, all(s15));
  tail = multiplyAdd(z.first, tail, all(s13));
  tail = multiplyAdd(z.first, tail, all(s11));
  tail = multiplyAdd(z.first, tail, all(s9));
  tail = multiplyAdd(z.first, tail, all(s7));
  Pair factor = multiplyAdd(z, {tail, all(0.0)}, s5);
  factor.rest += s5Rest;
  factor = multiplyAdd(z, factor, s3);
  factor.rest += s3Rest;
  factor = multiplyAdd(z, factor, 1.0);

  const Doubles product = r.first * factor.first;
  Doubles rest = multiplyAdd(r.first, factor.first, -product);
  rest = multiplyAdd(r.first, factor.rest, rest);
  rest = multiplyAdd(r.rest, factor.first, rest);
  const Doubles rounded = product + rest;
  rest = product - rounded + rest;

  // The unit of the last place is 2^-52 of the exponent's power of two: of the double before, as below a power of two
  // the doubles are twice as dense.
  const Doubles power = reinterpret_cast<Doubles>((reinterpret_cast<Words>(rounded) - 1) & 0x7ff0000000000000LL);
  *known = (magnitude(rest) <= power * (safeDistance * 0x1p-52)) & (magnitude(r.first) >= nearMultiple) &
           (magnitude(x) < farArgument);
  return reinterpret_cast<Doubles>(reinterpret_cast<Words>(rounded) ^ (reinterpret_cast<Words>(halfTurns) << 63));
}

/// As many steps as the loops take at a time: few enough for the first cache, and enough to keep the vectors apart from
/// the calls of the library.
constexpr int blockSize = 64;
struct alignas(64) Block {
  double values[blockSize] = {};
};

/// The sines or cosines of the first `count` values. Returns for how many of them the library was asked.
template <bool cosine>
int waves(const Block &x, int count, Block &result) {
  alignas(64) long long known[blockSize];
  for (int i = 0; i < count; i += lanes) {
    Words of;
    store(result.values + i, wave<cosine>(load(x.values + i), &of));
    __builtin_memcpy(known + i, &of, sizeof of);
  }
  // Which ones cannot be foretold, so no branch asks.
  int unknown[blockSize];
  int asked = 0;
  for (int i = 0; i < count; ++i) {
    unknown[asked] = i;
    asked += static_cast<int>(1 + known[i]);
  }
  for (int j = 0; j < asked; ++j) {
    const int i = unknown[j];
    result.values[i] = cosine ? ::cos(x.values[i]) : ::sin(x.values[i]);
  }
  return asked;
}

inline int blockAt(int first, int count) { return count - first < blockSize ? count - first : blockSize; }

template <bool cosine>
int manyWaves(const double *x, int count, double *result) {
  int asked = 0;
  Block from, to;
  for (int first = 0; first < count; first += blockSize) {
    const int here = blockAt(first, count);
    __builtin_memcpy(from.values, x + first, static_cast<std::size_t>(here) * sizeof *x);
    asked += waves<cosine>(from, here, to);
    __builtin_memcpy(result + first, to.values, static_cast<std::size_t>(here) * sizeof *x);
  }
  return asked;
}

/// The operations of noiseSum() in their order, for each lane.
void manySums(const double *x, int count, double octaves, double *result) {
  Block at, inner, argument, cosines, sines;
  for (int first = 0; first < count; first += blockSize) {
    const int here = blockAt(first, count);
    __builtin_memcpy(at.values, x + first, static_cast<std::size_t>(here) * sizeof *x);
    Block sum;
    for (double k = 2.0; k <= octaves; k += 1.0) {
      const double weight = 1.0 / (4.0 + k);
      for (int i = 0; i < here; i += lanes) {
        const Doubles values = load(at.values + i);
        store(inner.values + i, (values + k) / 3.0 + values / 10.0);
      }
      waves<true>(inner, here, cosines);
      for (int i = 0; i < here; i += lanes)
        store(argument.values + i, (k + 4.0) * (load(at.values + i) / 7.0) + (2.0 * k) * load(cosines.values + i));
      waves<false>(argument, here, sines);
      for (int i = 0; i < here; i += lanes)
        store(sum.values + i, load(sum.values + i) + weight * load(sines.values + i));
    }
    __builtin_memcpy(result + first, sum.values, static_cast<std::size_t>(here) * sizeof *x);
  }
}

constexpr NoiseSet noiseNamed(const char *name) { return {name, manySums, manyWaves<false>, manyWaves<true>}; }
