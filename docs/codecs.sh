#!/usr/bin/env bash
# codecs.sh LINUX WINDOWS: the page of what each system reads and writes, out of what `qmio codecs` printed on either. A
# third word tells the versions.
set -euo pipefail

names() { awk -v kind="$2" '$2 " " $3 == kind { print $1 }' "$1" | LC_ALL=C sort -u; }

print_names() {
    local title=$1 list=$2
    [[ -n $list ]] || return 0
    awk -v title="$title" '
        { names = names (NR > 1 ? ", " : "") "`" $0 "`" }
        END { printf "**%s** (%d): %s\n\n", title, NR, names }' <<<"$list"
}

print_kind() {
    local title=$1 kind=$2
    printf '## %s\n\n' "$title"
    print_names "Linux and Windows" "$(LC_ALL=C comm -12 <(names "$linux" "$kind") <(names "$windows" "$kind"))"
    print_names "Linux alone" "$(LC_ALL=C comm -23 <(names "$linux" "$kind") <(names "$windows" "$kind"))"
    print_names "Windows alone" "$(LC_ALL=C comm -13 <(names "$linux" "$kind") <(names "$windows" "$kind"))"
}

linux=$1
windows=$2
cat <<END
# Codecs

What the library reads and writes with $3; \`vcodec=\` and \`acodec=\` take the names of what is written. Made by
\`./dev windows codecs\` from what \`qmio codecs\` prints on Linux and under Wine; it tells of the machine at hand, where a newer
FFmpeg has more. Those that end in \`_cuvid\`, \`_nvenc\`, \`_qsv\`, \`_vaapi\`, \`_v4l2m2m\` and \`_omx\` work on
hardware and open only where there is some; decoders with holes that are known to be open are listed and yet refused:
[security](security.md).

END
print_kind 'Video that can be read' 'video decoder'
print_kind 'Video that can be written' 'video encoder'
print_kind 'Sound that can be read' 'audio decoder'
print_kind 'Sound that can be written' 'audio encoder'
