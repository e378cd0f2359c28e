// Whether two libraries made the same picture, so that their times may be compared.
#ifndef PIXTOLA_BENCH_AGREEMENT_H_
#define PIXTOLA_BENCH_AGREEMENT_H_

#include <string>

#include "image.h"
#include "job.h"

namespace pixtola::bench {

/// Empty when `result` agrees with `expected` as closely as claimed; otherwise what is wrong.
std::string Disagreement(const Image& expected, const Image& result, Agreement agreement);

}  // namespace pixtola::bench

#endif  // PIXTOLA_BENCH_AGREEMENT_H_
