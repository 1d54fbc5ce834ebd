// Stats.h: the summary of one series of measurements.
//
// Benchmarks report the median, the 90th percentile and the maximum of their
// samples. The 90th percentile uses the nearest-rank rule, so it and the
// maximum are values that were actually measured; the median of an even
// count is the mean of the two middle ones.
#pragma once

#include <cstddef>
#include <vector>

namespace bench {

struct Summary {
    std::size_t count = 0;
    double median = 0;
    double p90 = 0;
    double max = 0;
};

// The summary of `samples`; all zero when there are none.
Summary Summarize(std::vector<double> samples);

} // namespace bench
