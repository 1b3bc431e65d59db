#include "tools/orientation_command.h"

#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdio>
#include <string>

#include "skylevel/skylevel.h"

namespace skylevel {
namespace {

constexpr const char* summary = "Prints the quarter turn that makes a device's pictures upright";

constexpr const char* notes =
    R"(X, Y and Z are the gravity in the device's axes, in m/s^2, as its accelerometer
reports it. The answer is the clockwise turn in degrees: 0, 90, 180 or 270; 0 for
a device that lies flat (Z above 9).)";

std::string checkNumber(const std::string& text) {
    float value = 0.0f;
    if (CLI::detail::lexical_cast(text, value) && std::isfinite(value)) return {};
    return text + " is not a number in range";
}

}  // namespace

OrientationCommand::OrientationCommand(CLI::App& tool) : command(tool.add_subcommand("orientation", summary)) {
    command->footer(notes);
    command->add_option("GRAVITY", gravity, "X Y Z")->required()->expected(3)->check(checkNumber)->type_name("");
}

bool OrientationCommand::isWanted() const { return command->parsed(); }

int OrientationCommand::run() const {
    TiltCorrection corrector(nullptr, 0, 0, 0);
    int turn = 0;
    corrector.computeImageRotation(gravity[0], gravity[1], gravity[2], turn);
    std::printf("%d\n", turn);
    return 0;
}

}  // namespace skylevel
