#!/usr/bin/env bash
# Renders the real Lumo under Xvfb into the software-centre screenshots that the
# AppStream metadata names: reading, editing, the sidebar and project search, each
# light and dark, into resources/linux/screenshots (or the folder given).
#
#   scripts/screenshots.sh [OUTPUT_FOLDER]
#
# Needs a build (scripts/run.sh or scripts/test.sh), xdotool and ImageMagick. The
# dark shots use a KDE colour file: Qt's own KDE theme reads it into the palette,
# which is how Lumo learns the desktop is dark.
set -euo pipefail
source="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
program="${LUMO_BUILD_DIR:-$source/build}/bin/lumo"
out="$(realpath -m "${1:-$source/resources/linux/screenshots}")"
for tool in Xvfb xdotool import; do
    command -v "$tool" >/dev/null || { echo "screenshots: $tool is missing" >&2; exit 1; }
done
[ -x "$program" ] || { echo "screenshots: build Lumo first ($program)" >&2; exit 1; }
mkdir -p "$out"

work=$(mktemp -d)
# A display of our own: Xvfb picks a free number and writes it to the file.
Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp 3>"$work/display" >/dev/null 2>&1 &
xvfb=$!
lumo=
cleanup() {
    [ -z "$lumo" ] || kill "$lumo" 2>/dev/null || true
    kill "$xvfb" 2>/dev/null || true
    rm -rf "$work"
}
trap cleanup EXIT
for _ in $(seq 50); do
    [ -s "$work/display" ] && break
    sleep 0.1
done
DISPLAY=":$(cat "$work/display")"
export DISPLAY

# A small project of notes to show.
notes="$work/Field Notes"
mkdir -p "$notes/trips" "$notes/recipes"
cat >"$notes/Coastal survey.md" <<'MD'
# Coastal survey

The survey ran for **nine days** along the northern shore, counting nesting
birds at each of the [twelve stations](trips/stations.md).

> [!NOTE]
> Counts below are the mean of two observers.

| Station | Terns | Gulls | Plovers |
|--------:|------:|------:|--------:|
| North Spit | 142 | 38 | 6 |
| Salt Marsh | 87 | 51 | 11 |
| Dune Ridge | 23 | 19 | 4 |

The density at a station follows $d = \frac{n}{A}$, with $A$ its area in hectares.

```python
def density(count, area):
    return count / area if area else 0.0
```

- [x] Enter the counts
- [ ] Compare with last year
MD
cat >"$notes/trips/stations.md" <<'MD'
# Stations

1. North Spit, reached at low tide
2. Salt Marsh, from the boardwalk
3. Dune Ridge, a long walk over sand
MD
printf '# Bread\n\nFlour, water, salt and time. Terns are not an ingredient.\n' >"$notes/recipes/bread.md"
printf '# Reading list\n\n- *The Peregrine*\n- *Tern migration, a survey*\n' >"$notes/reading list.md"
touch -d '+1 minute' "$notes/Coastal survey.md" # the folder opens its newest file

# Lumo with its own settings, folders and socket, never the user's.
settings() {
    mkdir -p "$work/$1/config/Lumo" "$work/$1/run"
    chmod 700 "$work/$1/run"
    printf '[General]\nlaunchedBefore=true\naskedToBeDefault=true\nshowSidebar=%s\n' "$2" \
        >"$work/$1/config/Lumo/Lumo.conf"
}
dark_colours() {
    cat >"$work/$1/config/kdeglobals" <<'KDE'
[Colors:Window]
BackgroundNormal=32,33,36
ForegroundNormal=232,232,232
[Colors:View]
BackgroundNormal=24,25,28
ForegroundNormal=232,232,232
[Colors:Button]
BackgroundNormal=48,50,54
ForegroundNormal=232,232,232
[Colors:Selection]
BackgroundNormal=30,58,86
ForegroundNormal=255,255,255
KDE
}
start() {
    local home=$work/$1
    shift
    local env=(XDG_CONFIG_HOME="$home/config" XDG_DATA_HOME="$home/data"
        XDG_RUNTIME_DIR="$home/run" QT_QUICK_BACKEND=software)
    if [ -f "$home/config/kdeglobals" ]; then
        env+=(XDG_CURRENT_DESKTOP=KDE KDE_SESSION_VERSION=5 KDE_FULL_SESSION=true)
    else
        env+=(XDG_CURRENT_DESKTOP=none)
    fi
    env "${env[@]}" "$program" "$@" >"$work/lumo.log" 2>&1 &
    lumo=$!
    local window=
    for _ in $(seq 100); do
        window=$(xdotool search --onlyvisible --class lumo 2>/dev/null | head -n 1) && [ -n "$window" ] && break
        sleep 0.2
    done
    [ -n "$window" ] || { cat "$work/lumo.log" >&2; exit 1; }
    xdotool windowmove "$window" 0 0 windowsize "$window" 1200 760
    xdotool windowactivate --sync "$window" 2>/dev/null || xdotool windowfocus "$window"
    sleep 4
}
stop() {
    kill "$lumo"
    wait "$lumo" 2>/dev/null || true
    lumo=
}
shot() {
    local window
    window=$(xdotool search --onlyvisible --class lumo | head -n 1)
    import -window "$window" -crop 1200x760+0+0 +repage -colors 256 -strip "PNG8:$out/$1.png"
    echo "screenshots: $out/$1.png"
}

for appearance in light dark; do
    settings "$appearance-reading" false
    settings "$appearance-folder" true
    if [ "$appearance" = dark ]; then
        dark_colours "$appearance-reading"
        dark_colours "$appearance-folder"
    fi

    start "$appearance-reading" "$notes/Coastal survey.md"
    shot "reading-$appearance"
    xdotool key ctrl+e
    sleep 2
    shot "editing-$appearance"
    stop

    start "$appearance-folder" "$notes"
    shot "sidebar-$appearance"
    xdotool key ctrl+shift+f
    sleep 1
    xdotool type --delay 60 terns
    sleep 3
    shot "search-$appearance"
    stop
done
