// Stats.cpp: median, nearest-rank 90th percentile and maximum.
#include "bench/Stats.h"

#include <algorithm>

namespace bench {

Summary Summarize(std::vector<double> samples)
{
    Summary summary;
    summary.count = samples.size();
    if (samples.empty())
        return summary;
    std::sort(samples.begin(), samples.end());
    const std::size_t n = samples.size();
    summary.median = n % 2 == 1 ? samples[n / 2] : (samples[n / 2 - 1] + samples[n / 2]) / 2;
    // Nearest rank: the smallest sample with at least 90 % of them at or below it.
    const std::size_t rank = (9 * n + 9) / 10; // ceil(0.9 n) in whole numbers
    summary.p90 = samples[rank - 1];
    summary.max = samples.back();
    return summary;
}

} // namespace bench
