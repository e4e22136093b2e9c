#!/usr/bin/env bash
# Installs the Debian packages, uses what they hold and removes them. The system stays as it is: they go into a folder, and
# dpkg works on a copy of the system's database, by which it sees whether their dependencies are there and whether a file
# of theirs belongs to another package.
#
# usage: package_test.sh PACKAGES WORK    PACKAGES is a folder of .deb files
set -euo pipefail
packages=$(realpath "$1") work=$2
tests=$(realpath "$(dirname "$0")")

rm -rf "$work"
mkdir -p "$work/root" "$work/database/updates"
work=$(realpath "$work")
cp /var/lib/dpkg/status "$work/database"
cp --recursive --symbolic-link /var/lib/dpkg/info "$work/database"

in_folder() {
    PATH=$PATH:/usr/sbin:/sbin dpkg --instdir="$work/root" --admindir="$work/database" --log=/dev/null \
        --no-triggers --force-not-root "$@" >"$work/dpkg.log" 2>&1 || { cat "$work/dpkg.log"; return 1; }
}

names=()
for package in "$packages"/*.deb; do names+=("$(dpkg-deb --field "$package" Package)"); done
[[ ${names[*]} == "dds2csv libdds2csv-dev" ]]

in_folder --install "$packages"/*.deb
version=$(dpkg-query --admindir="$work/database" --show --showformat '${Version}' dds2csv)
"$work/root/usr/bin/dds2csv" --version | grep --quiet --fixed-strings --line-regexp "dds2csv ${version%-*}"
zgrep --quiet '^.SH "\?EXIT STATUS' "$work/root/usr/share/man/man1/dds2csv.1.gz"
for way in find_package pkg_config; do
    "$tests/consumer_test.sh" "$way" "$work/root/usr" "$work/$way" >"$work/$way.log" 2>&1 || { cat "$work/$way.log"; exit 1; }
done

in_folder --purge "${names[@]}"
left=$(find "$work/root" -mindepth 1)
if [[ -n $left ]]; then
    printf 'left behind:\n%s\n' "$left"
    exit 1
fi
echo "package: ${names[*]} $version installed, used and removed"
