# SPDX-License-Identifier: MIT
# shellcheck shell=sh
# Functions for scripts that make a Debian root: from where, and by which way.

# copy_sources RELEASE FOLDER [AS]: the part of this machine's own apt sources that is the Debian
# release, as FOLDER/debian.list and debian.sources where there is any: its mirror and keys are
# whatever apt is configured with, other archives are left out. AS is the release that is wanted of
# the same mirrors.
copy_sources() {
    list=''
    parts=''
    eval "$(apt-config shell list Dir::Etc::sourcelist/f parts Dir::Etc::sourceparts/d)"
    for file in "$list" "$parts"*.list; do
        [ ! -f "$file" ] || awk -v suite="$1" '
            $1 == "deb" {
                line = $0
                sub(/\[[^]]*\]/, "", line)
                n = split(line, word, /[ \t]+/)
                if (word[3] !~ "^" suite "(-updates|-security)?$") next
                for (i = 4; i <= n; i++) if (word[i] == "main") { print; next }
            }' "$file"
    done >"$2/debian.list"
    for file in "$parts"*.sources; do
        [ ! -f "$file" ] || { cat "$file"; echo; }
    done | awk -v suite="$1" '
        function flush() {
            if (deb && main && ours && !off) print stanza
            stanza = ""; deb = main = ours = off = 0
        }
        /^[ \t]*$/ { flush(); next }
        /^#/ { next }
        { stanza = stanza $0 "\n"; key = tolower($1) }
        key == "types:" && / deb( |$)/ { deb = 1 }
        key == "components:" && / main( |$)/ { main = 1 }
        key == "suites:" && $0 ~ " " suite "(-updates|-security)?( |$)" { ours = 1 }
        key == "enabled:" && tolower($2) ~ /^(no|false|0)$/ { off = 1 }
        END { flush() }' >"$2/debian.sources"
    for file in "$2/debian.list" "$2/debian.sources"; do
        if [ ! -s "$file" ]; then
            rm "$file"
        elif [ "${3:-$1}" != "$1" ]; then
            sed -i "/^deb \|^Suites:/s/\<$1\>/$3/g" "$file"
        fi
    done
}

# copy_transport FOLDER: how apt reaches the archives (a proxy, certificates), as FOLDER/transport.
copy_transport() {
    apt-config dump | grep -E '^Acquire::(http|https)::' >"$1/transport" || :
}
