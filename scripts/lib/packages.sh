# Sourced by the scripts: need PACKAGE... makes sure that Debian packages are installed.

need() {
    local missing=() package
    if ! command -v dpkg-query >/dev/null; then
        # Programs can be looked for by name here; of libraries CMake says itself which one it misses.
        for package in "$@"; do
            case $package in lib* | *-dev) continue ;; ninja-build) package=ninja ;; esac
            command -v "$package" >/dev/null || missing+=("$package")
        done
        [ ${#missing[@]} -eq 0 ] && return 0
        echo "This is not Debian or Ubuntu. Please install: ${missing[*]}" >&2
        return 1
    fi
    for package in "$@"; do
        dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null | grep -qx installed || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return 0

    local as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        if ! command -v sudo >/dev/null; then
            echo "Please install: ${missing[*]}" >&2
            return 1
        fi
        as_root=(sudo)
    fi
    echo "Installing ${missing[*]}"
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update -qq >/dev/null &&
        "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
            apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}

# What the library, the tool and the tests are built from.
build_packages=(cmake g++ ninja-build libcli11-dev nlohmann-json3-dev libjpeg-dev libpng-dev zlib1g-dev libwebp-dev
    libheif-dev libgtest-dev libimage-exiftool-perl python3)

# What builds and runs programs for arm64 on another machine.
arm64_packages=(g++-aarch64-linux-gnu qemu-user)
