#include "tools/progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace skylevel {
namespace {

constexpr std::size_t usualColumns = 80;
constexpr std::size_t widestBar = 40;
constexpr std::size_t narrowestBar = 5;

bool canMoveBack() {
    const char* const terminal = std::getenv("TERM");
    return ::isatty(STDERR_FILENO) != 0 && terminal != nullptr && std::string_view(terminal) != "dumb";
}

std::size_t terminalColumns() {
    winsize size = {};
    return ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : usualColumns;
}

std::string rateAndTime(std::size_t done, std::size_t total, double seconds) {
    if (done == 0 || seconds <= 0.0) return "";
    const double rate = static_cast<double>(done) / seconds;
    const double left = std::ceil(static_cast<double>(total - done) / rate);
    char text[64];
    if (left < 3600.0)
        std::snprintf(text, sizeof(text), " %.1f/s, %d:%02d left", rate, static_cast<int>(left) / 60,
                      static_cast<int>(left) % 60);
    else
        std::snprintf(text, sizeof(text), " %.1f/s, %.1f h left", rate, left / 3600.0);
    return text;
}

}  // namespace

std::string progressLine(std::size_t done, std::size_t total, double seconds, std::size_t columns) {
    std::string line = std::to_string(done) + "/" + std::to_string(total);
    const std::string times = rateAndTime(done, total, seconds);
    const std::size_t needed = line.size() + times.size() + std::string_view(" []").size() + 1;
    if (needed + narrowestBar <= columns) {
        const std::size_t bar = std::min(widestBar, columns - needed);
        const std::size_t full = total == 0 ? 0 : done * bar / total;
        line += " [" + std::string(full, '#') + std::string(bar - full, ' ') + "]";
    }
    return line.size() + times.size() < columns ? line + times : line.substr(0, columns - 1);
}

ProgressBar::ProgressBar(std::size_t totalCount) : total(totalCount), wanted(totalCount > 1 && canMoveBack()) {
    draw(0);
}

void ProgressBar::draw(std::size_t done) {
    if (!wanted) return;
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    std::fprintf(stderr, "\r%s\033[K", progressLine(done, total, elapsed.count(), terminalColumns()).c_str());
    drawn = true;
}

void ProgressBar::erase() {
    if (drawn) std::fputs("\r\033[K", stderr);
    drawn = false;
}

}  // namespace skylevel
