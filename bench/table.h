// Runs the rows and shows what they came to.
#pragma once

#include <vector>

#include "row.h"

namespace bench {

// Measures every contender of every row that --benchmark_filter lets through, in rounds that take turns so that whatever
// else the machine does strikes all alike, and prints the medians as one Markdown table with the machine, the date and
// the versions. The names that the filter sees are "MEDIA/WORK/CONTENDER". False when one of them failed.
bool measure(const std::vector<Row>& rows);

}  // namespace bench
