// Which columns of a canvas row see the source.
#pragma once

#include <cstdint>

#include "platform/dispatch.h"

namespace skylevel {

// Canvas columns, the end not included.
struct Interval {
    std::int64_t begin;
    std::int64_t end;
};

// One source coordinate along a canvas row. double, the product rounded before the add. Rounding keeps
// order, so the coordinate never turns back along the row, and what lies between two bounds is one
// interval.
struct Axis {
    double start;  // at column 0
    double step;   // per column, not 0

    SKYLEVEL_KERNEL double at(double column) const { return start + step * column; }

    // The first column of the interval, or its end, at which the coordinate has passed the bound: is at
    // least as large while it rises, smaller while it falls. A division comes close, the exact
    // comparison settles it in a step or two.
    std::int64_t crossing(double bound, Interval columns) const {
        const bool rising = step > 0.0;
        const auto passed = [&](std::int64_t column) { return (at(static_cast<double>(column)) >= bound) == rising; };
        const double estimate = (bound - start) / step;
        std::int64_t column = columns.begin;
        if (estimate >= static_cast<double>(columns.end))
            column = columns.end;
        else if (estimate > static_cast<double>(columns.begin))
            column = static_cast<std::int64_t>(estimate);
        while (column > columns.begin && passed(column - 1)) --column;
        while (column < columns.end && !passed(column)) ++column;
        return column;
    }

    // The part of the interval where the coordinate is at least 0 and below the limit. An empty one
    // lies within the interval too.
    Interval within(double limit, Interval columns) const {
        const bool rising = step > 0.0;
        columns.begin = crossing(rising ? 0.0 : limit, columns);
        columns.end = crossing(rising ? limit : 0.0, columns);
        return columns;
    }
};

}  // namespace skylevel
