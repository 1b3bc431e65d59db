// The rows of the benchmark: one contender at one operation on one input.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "bench/inputs.h"

namespace bench {

struct Facts {
    std::size_t traffic = 0;  // ours: bytes that the operation has to read plus those that it has to write
    int points = 0;           // edge points of the map that it finds or searches; 0 where there is no map
};

// What is timed, with the memory it works on.
struct Work {
    Facts facts;
    std::function<void()> run;
};

struct Row {
    std::string operation;
    std::string input;
    std::string contender;
    std::function<Work()> prepare;

    std::string name() const { return operation + "/" + input + "/" + contender; }
};

using Rows = std::vector<Row>;

inline void addRow(Rows& rows, const std::string& operation, const std::string& input, const std::string& contender,
                   std::function<Work()> prepare) {
    rows.push_back({operation, input, contender, std::move(prepare)});
}

// Each peer's is built when its library was found.
void addOurs(Rows& rows);
void addOpencv(Rows& rows);
void addLibyuv(Rows& rows);
void addSwscale(Rows& rows);

namespace op {
inline const std::string request = "horizon request";
inline const std::string logged = "horizon request, logger attached";
inline const std::string growth = "horizon request, growing";
inline const std::string reduction = "4:1 reduction";
inline const std::string edges = "edge detector";
inline const std::string smoothing = "smoothing and derivatives";
inline const std::string magnitude = "magnitude and thresholds";
inline const std::string suppression = "suppression and growth";
inline const std::string hough = "Hough segments";
inline const std::string gray = "RGB to gray";
inline const std::string smallGray = "RGB to gray with 8:1";
inline const std::string filter = "8:1 filter";
inline const std::string turn = "turn";
inline const std::string crop = "crop";
inline const std::string mean = "mean";
inline const std::string thirds = "every third pixel";
}  // namespace op

}  // namespace bench
