// How far a batch is, in the last line of a terminal.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace skylevel {

// "12/40 [######              ] 3.1/s, 0:09 left", without its end, in less than so many columns; shorter where they
// are too few.
std::string progressLine(std::size_t done, std::size_t total, double seconds, std::size_t columns);

class ProgressBar {
public:
    // Nothing is ever shown of a single photo, or when standard error is no terminal.
    explicit ProgressBar(std::size_t total);
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;
    ~ProgressBar() { erase(); }

    void draw(std::size_t done);
    // Makes place for other lines.
    void erase();

private:
    std::size_t total;
    bool wanted;
    bool drawn = false;
    std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
};

}  // namespace skylevel
