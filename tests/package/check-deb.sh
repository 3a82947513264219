#!/usr/bin/env bash
# Builds the .deb from the build tree in $1, unpacks it into a fresh root and checks what a desktop
# needs of it: the program runs from there and says version $2, the desktop entry claims the
# orvane-screen:// links, the icon theme has every size, the AppStream file names the release, the
# wallpapers came along, and the dependencies were read off the linked libraries.
set -euo pipefail
build=$1
version=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "check-deb: $*" >&2; exit 1; }

cpack --config "$build/CPackConfig.cmake" -G DEB -B "$work/out" >"$work/cpack.log" 2>&1 ||
    { cat "$work/cpack.log" >&2; fail "cpack failed"; }
deb=$(ls "$work"/out/orvane-screen_*.deb 2>/dev/null | head -n1)
[ -n "$deb" ] || fail "no .deb was made"
dpkg-deb -x "$deb" "$work/root"
root=$work/root/usr

out=$(env -u DISPLAY -u WAYLAND_DISPLAY "$root/bin/orvane-screen" --version)
[ "$out" = "orvane-screen $version" ] || fail "--version said '$out'"
# Without a display the unpacked program names the windowless commands instead of aborting.
set +e
env -u DISPLAY -u WAYLAND_DISPLAY "$root/bin/orvane-screen" >/dev/null 2>"$work/nodisplay.txt"
status=$?
set -e
[ "$status" = 2 ] || fail "without a display it exited $status"
grep -q "orvane-screen render" "$work/nodisplay.txt" || fail "without a display it listed no commands"

desktop=$root/share/applications/tech.velvetcomet.orvane.screen.desktop
grep -qx 'MimeType=x-scheme-handler/orvane-screen;' "$desktop" || fail "the desktop entry claims no links"
grep -qx 'Exec=orvane-screen %u' "$desktop" || fail "the desktop entry does not pass the link on"
for size in 16 24 32 48 64 128 256 512; do
    icon=$root/share/icons/hicolor/${size}x${size}/apps/tech.velvetcomet.orvane.screen.png
    [ -s "$icon" ] || fail "no ${size}x${size} icon"
    file "$icon" 2>/dev/null | grep -q "$size x $size" || [ ! -x /usr/bin/file ] || fail "the ${size} icon is not ${size}x${size}"
done
grep -q "<release version=\"$version\"" "$root/share/metainfo/tech.velvetcomet.orvane.screen.metainfo.xml" ||
    fail "the AppStream file names no release $version"
[ -s "$root/share/orvane-screen/Wallpapers/default.png" ] || fail "the wallpapers were left out"

depends=$(dpkg-deb -f "$deb" Depends)
for library in libqt6core6 libqt6quick6 libavcodec libxcb1 libpulse0 qt6-qpa-plugins qml6-module-qtquick-controls; do
    echo "$depends" | grep -q "$library" || fail "Depends lacks $library: $depends"
done
size=$(stat -c %s "$root/bin/orvane-screen")
[ "$size" -lt 60000000 ] || fail "the program was not stripped ($size bytes)"
echo "check-deb: $(basename "$deb") ($(du -h "$deb" | cut -f1)) unpacks and runs"
