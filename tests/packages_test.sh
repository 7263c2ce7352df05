#!/usr/bin/env bash
# The Debian packages in an empty system, which has what they depend on and nothing else: they install, the
# programs run, an upgrade keeps the configuration, and removed they leave nothing.
#
#   tests/packages_test.sh DEB ...      as root
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
. "$root/tests/support/checks.sh"
debs=()
for deb in "$@"; do debs+=("$(realpath "$deb")"); done
work=$(mktemp -d "$root/build/empty-system.XXXXXX")
trap 'rm -rf "$work"' EXIT
system=$work/system
# In a namespace of its own: what is mounted in there goes with it. The answer is in $work.
inside() {
    status=0
    unshare --mount --pid --ipc --net --fork sh -c '
        mount --bind "$0" "$0"
        mount -t proc proc "$0/proc"
        exec chroot "$0" /usr/bin/env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin DEBIAN_FRONTEND=noninteractive "$@"' \
        "$system" "$@" >"$work/stdout" 2>"$work/stderr" || status=$?
}
succeeds() {
    inside "${@:2}"
    [[ $status -eq 0 ]] || fail "$1: status $status: $(tail -n 5 "$work/stdout" "$work/stderr")"
}

# What the packages depend on, without each other; the system is made once for each such list.
own=$(for deb in "${debs[@]}"; do dpkg-deb -f "$deb" Package; done)
needed=$(for deb in "${debs[@]}"; do dpkg-deb -f "$deb" Depends; done | tr ',' '\n' | sed 's/ *(.*//; s/ //g' |
    sort -u | grep -vxF "$own" | paste -sd,)
base=$root/build/empty-system-$(sha256sum <<<"$needed" | cut -c1-12).tar
if [[ ! -s $base ]]; then
    echo "making an empty system with $needed"
    # Without the archive there is nothing to try them in.
    mmdebstrap --quiet --variant=apt --include="$needed" bookworm "${base%.tar}.part.tar" ||
        { echo "packages: SKIPPED: no empty system is to be had" >&2; exit 0; }
    mv "${base%.tar}.part.tar" "$base"
fi
mkdir "$system"
tar -C "$system" -xf "$base" --exclude='./dev/*'
mknod -m 666 "$system/dev/null" c 1 3

# Everything but what dpkg keeps about packages and what logs keep about time.
files() {
    (cd "$system" && find . -path ./proc -prune -o -path ./var/log -prune -o -path ./var/lib/dpkg -prune -o \
        -path ./var/cache -prune -o -path ./tmp -prune -o -print | sort)
}
mkdir "$system/tmp/debs" "$work/newer"
cp "${debs[@]}" "$system/tmp/debs"
cp -r "$root/scenario/home" "$system/tmp/home"
files >"$work/before"

echo "install"
succeeds install sh -c 'dpkg -i /tmp/debs/*.deb'
for program in mc_node mcctl mcstat; do
    succeeds "$program" "$program" --version
    grep -qx "$program [0-9.]*" "$work/stdout" || fail "$program --version: $(<"$work/stdout")"
    [[ -s $system/usr/share/man/man1/$program.1.gz ]] || fail "$program has no manual page"
done
succeeds replay mc_node replay /tmp/home
grep -q '^ *all  *380 ' "$work/stdout" || fail "replay: $(tail -n 5 "$work/stdout")"
succeeds loader sh -c 'ldconfig -p | grep libmc_hal.so.1'
for maintainer in $own; do
    succeeds "$maintainer" dpkg --verify "$maintainer"
    [[ ! -s $work/stdout ]] || fail "$maintainer: $(<"$work/stdout")"
done
grep -q '^ExecStart=/usr/bin/mc_node ' "$system/usr/lib/systemd/system/mc_node.service" ||
    fail "the service runs another program"

echo "upgrade"
echo "bridge br9" >>"$system/etc/mc_node/mc_node.conf"
for deb in "${debs[@]}"; do
    folder=$work/newer/$(basename "$deb" .deb)
    dpkg-deb -R "$deb" "$folder"
    sed -i "s/^\(Version: .*\)/\1+newer/; s/\(libmc-hal[0-9]* (= [^)]*\))/\1+newer)/" "$folder/DEBIAN/control"
    rm "$system/tmp/debs/$(basename "$deb")"
    dpkg-deb --root-owner-group -b "$folder" "$system/tmp/debs/" >/dev/null
done
succeeds upgrade sh -c 'dpkg -i /tmp/debs/*.deb'
succeeds version dpkg-query -W -f '${Version}\n' mc-node
grep -q '+newer$' "$work/stdout" || fail "the upgrade left version $(<"$work/stdout")"
grep -qx "bridge br9" "$system/etc/mc_node/mc_node.conf" || fail "the upgrade lost the configuration"

echo "remove"
# shellcheck disable=SC2086
succeeds remove dpkg -r $own
[[ -e $system/etc/mc_node/mc_node.conf ]] || fail "remove took the configuration away"
[[ ! -e $system/usr/bin/mc_node ]] || fail "remove left the program"
# shellcheck disable=SC2086
succeeds purge dpkg -P $own
files >"$work/after"
diff "$work/before" "$work/after" || fail "purge left something, or took too much"
finish
