#!/usr/bin/env bash
# The Debian package as a user's machine would get it, checked without root and
# without installing anything: made by CPack from the build tree, unpacked into a
# temporary root, then run, validated and (when lintian is installed) linted.
#
#   check_package.sh BUILD_DIR SOURCE_DIR
set -euo pipefail
build=$1
source=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0
fail() {
    echo "FAIL: $*" >&2
    failures=$((failures + 1))
}

(cd "$build" && cpack -G DEB -B "$work/out" >/dev/null)
package=$(ls "$work"/out/lumo_*.deb)
root=$work/root
dpkg-deb -x "$package" "$root"

# Depends from the linked libraries plus the page's font; Wayland recommended.
depends=$(dpkg-deb -f "$package" Depends)
for needed in libqt6webenginecore6 libqt6widgets6 libuchardet0 libqpdf fonts-dejavu-core; do
    grep -q "$needed" <<<"$depends" || fail "Depends lacks $needed: $depends"
done
grep -q qt6-wayland <<<"$(dpkg-deb -f "$package" Recommends)" || fail "qt6-wayland is not recommended"
[ -z "$(dpkg-deb -c "$package" | awk '$6 !~ /^\.\/usr\// && $6 != "./"')" ] || fail "files outside /usr"

# The command on the PATH runs the unpacked program, which finds its page by itself.
version=$("$root/usr/bin/lumo" --version) || fail "lumo --version failed"
[ "$version" = "lumo $(dpkg-deb -f "$package" Version | cut -d- -f1)" ] || fail "version: $version"
printf '# Packaged\n\nSome *text* and $x^2$.\n' >"$work/in.md"
env -u LUMO_DATA_DIR HOME="$work/home" XDG_RUNTIME_DIR="$work" \
    "$root/usr/bin/lumo" --export html "$work/in.md" "$work/out.html" ||
    fail "headless export failed"
grep -q '<h1[^>]*>Packaged</h1>' "$work/out.html" 2>/dev/null || fail "the export lacks its heading"
grep -q 'class="katex' "$work/out.html" 2>/dev/null || fail "the export lacks its math"

desktop=$root/usr/share/applications/lumo.desktop
metainfo=$root/usr/share/metainfo/io.github.lumoapp.Lumo.metainfo.xml
desktop-file-validate "$desktop" || fail "desktop-file-validate"
appstreamcli validate --no-net "$metainfo" >"$work/appstream.log" 2>&1 ||
    { cat "$work/appstream.log"; fail "appstreamcli validate"; }

# Everything the entry and the metadata name is in the package.
expect() { [ -e "$root$1" ] || [ -L "$root$1" ] || fail "missing $1 ($2)"; }
for key in Exec TryExec; do
    expect "$(sed -n "s/^$key=\([^ ]*\).*/\1/p" "$desktop")" "$key"
done
icon=$(sed -n 's/^Icon=//p' "$desktop")
expect "/usr/share/icons/hicolor/scalable/apps/$icon.svg" Icon
for size in 16 22 24 32 48 64 128 256 512; do
    expect "/usr/share/icons/hicolor/${size}x${size}/apps/$icon.png" Icon
done
expect "/usr/share/applications/$(sed -n 's:.*<launchable type="desktop-id">\(.*\)</launchable>.*:\1:p' "$metainfo")" launchable
for binary in $(sed -n 's:.*<binary>\(.*\)</binary>.*:\1:p' "$metainfo"); do
    expect "/usr/bin/$binary" "provided binary"
done
icon_name=$(sed -n 's:.*<icon type="stock">\(.*\)</icon>.*:\1:p' "$metainfo")
[ -z "$icon_name" ] || expect "/usr/share/icons/hicolor/scalable/apps/$icon_name.svg" "metainfo icon"
screenshots=$(sed -n 's:.*<image[^>]*>\(.*\)</image>.*:\1:p' "$metainfo")
[ -n "$screenshots" ] || fail "the metadata shows no screenshots"
for url in $screenshots; do
    [ -f "$source/${url#*/main/}" ] || fail "screenshot $url is not in the repository"
done
expect /usr/share/man/man1/lumo.1.gz "manual page"
expect /usr/share/doc/lumo/copyright copyright
expect /usr/share/doc/lumo/changelog.Debian.gz changelog
for library in markdown-it katex highlight.js dompurify mermaid; do
    ls "$root"/usr/share/doc/lumo/licenses/"$library"@*.txt >/dev/null 2>&1 ||
        fail "no licence for $library"
done

if command -v lintian >/dev/null; then
    lintian --allow-root --fail-on error "$package" || fail "lintian reports errors"
else
    echo "lintian is not installed: the package is not linted"
fi

[ "$failures" -eq 0 ] || exit 1
echo "package $(basename "$package") passes"
