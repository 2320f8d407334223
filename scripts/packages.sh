# Source this file: it has the functions that install what a script needs. It sets `root` to the repository's folder.
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

# need PURPOSE PACKAGE...: installs the Debian packages that are missing, and prints which ones and the purpose.
need() {
    local purpose=$1 package missing=()
    shift
    if ! command -v apt-get >/dev/null; then
        echo "No apt-get here: if something is missing $purpose, install what Debian calls: $*"
        return
    fi
    for package; do
        [ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null)" = installed ] || missing+=("$package")
    done
    [ ${#missing[@]} -gt 0 ] || return 0
    local as_root=()
    [ "$(id -u)" = 0 ] || as_root=(sudo)
    if [ "$(id -u)" != 0 ] && ! command -v sudo >/dev/null; then
        echo "There is no sudo here. As root, please: apt-get install ${missing[*]}"
        exit 1
    fi
    echo "Installing $purpose: ${missing[*]}"
    "${as_root[@]}" apt-get update -qq
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}"
}

need_for_building() {
    need "what builds Nelo" g++ ccache cmake ninja-build qt6-base-dev libcurl4-openssl-dev libicu-dev nlohmann-json3-dev \
        libsimdjson-dev libx11-dev zlib1g-dev python3-minimal python3
}

need_for_testing() {
    need_for_virtual_desktop
    need_for_driving
    need "what Chinese is typed with" ibus ibus-libpinyin
    need "what plays a portal for files, and what asks it" python3-dbusmock qt6-xdgdesktopportal-platformtheme
    need "what reads windows aloud" orca
    need "what shows which files the idle program asks for" strace
    need "what results are compared with, and what makes certificates" unicode-data openssl
    need "what sets up a network with delay" iproute2 util-linux
    need "what looks at the files that are installed" desktop-file-utils appstream man-db
    need_for_backend
    need_for_mock_provider
}

# The libraries with which the local backend reads the files of agent programs.
need_for_backend() {
    need "what reads the files of agent programs" python3-json5 python3-yaml python3-tomlkit
}

need_for_virtual_desktop() {
    need "a virtual desktop, for there is no display" xvfb openbox trayer dbus-daemon fonts-dejavu-core fonts-noto-cjk
}

need_for_driving() {
    need "what clicks, reads and takes pictures on a virtual desktop" xdotool at-spi2-core python3-gi gir1.2-atspi-2.0 \
        imagemagick x11-utils
}

# need_for_desktops NAME...: what scripts/desktop-user needs to start the named desktops.
need_for_desktops() {
    local name
    need_for_virtual_desktop
    need_for_driving
    need "what runs the desktops apart, hears what panels ask for and compares pictures" util-linux dbus-bin python3-pil
    need "what tells programs that a desktop is dark" xdg-desktop-portal-gtk dconf-gsettings-backend libglib2.0-bin
    need "windows of other programs" xterm foot
    need "what Chinese is typed with" ibus ibus-libpinyin
    for name; do
        case $name in
        xfce) need "Xfce" xfce4-panel xfwm4 xfce4-settings xfconf ;;
        sway) need "sway" sway waybar qt6-wayland ;;
        plasma) need "Plasma" kwin-wayland plasma-workspace plasma-desktop qtwayland5 breeze konsole qt6-wayland \
            xdg-desktop-portal-kde fcitx5 fcitx5-pinyin ;;
        gnome) need "GNOME" gnome-shell gnome-shell-extension-appindicator qtwayland5 konsole qt6-wayland ;;
        lxqt) need "LXQt" lxqt-panel openbox ;;
        mate) need "MATE" mate-panel marco mate-settings-daemon-common ;;
        plasma-x11) need "Plasma on X11" kwin-x11 plasma-workspace plasma-desktop breeze xdg-desktop-portal-kde ;;
        *) echo "No desktop is called $name here."; exit 1 ;;
        esac
    done
}

# Installs the npm package that Tests/e2e/mock-provider names, in build/mock-provider.
need_for_mock_provider() {
    need_from_npm "a mock of the chat's provider" macos-native/Tests/e2e/mock-provider mock-provider
}

# Installs the agent programs that Tests/runtimes names, in build/runtimes. Only the package of Node needs to run its script.
need_for_runtimes() {
    need "what compares the agent programs with the backend" python3 python3-json5 python3-yaml python3-tomlkit
    need_from_npm "the agent programs, 1.1 GB" macos-native/Tests/runtimes runtimes node
}

# need_from_npm WHAT FOLDER NAME [PACKAGE...]: installs the packages of FOLDER's package-lock.json in build/NAME. Only the
# given packages run their scripts.
need_from_npm() {
    local what=$1 wanted=$root/$2 installed=$root/build/$3
    shift 3
    command -v npm >/dev/null || need "what installs $what" nodejs npm
    [ -e "$installed/complete" ] && cmp -s "$installed/package-lock.json" "$wanted/package-lock.json" && return
    echo "Installing $what, with npm"
    mkdir -p "$installed"
    rm -f "$installed/complete"
    cp "$wanted/package.json" "$wanted/package-lock.json" "$installed"
    (
        cd "$installed"
        npm ci --ignore-scripts --no-audit --no-fund --loglevel=error
        [ $# -eq 0 ] || npm rebuild --loglevel=error "$@"
    )
    touch "$installed/complete"
}

# build_preset PRESET [TARGET...]: builds the targets of a preset, or everything without a target.
build_preset() {
    local preset=$1 targets=()
    shift
    [ $# -eq 0 ] || targets=(--target "$@")
    (
        cd "$root/macos-native"
        if command -v ccache >/dev/null; then # what one checkout has compiled serves every other
            export CMAKE_CXX_COMPILER_LAUNCHER=ccache CCACHE_BASEDIR=$root CCACHE_NOHASHDIR=1
        fi
        cmake --preset "$preset" >"$root/build/configure.log" || { cat "$root/build/configure.log"; exit 1; }
        cmake --build --preset "$preset" ${targets[@]+"${targets[@]}"} # the bash of macOS takes an empty list for an unset one
    )
}

# build TARGET...: the same for the release preset.
build() {
    build_preset release "$@"
}
mkdir -p "$root/build"
