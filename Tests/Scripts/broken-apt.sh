#!/bin/sh
# broken-apt.sh SOURCE: where packages are missing and apt-get is broken, `run` and `test` end with its reason.
set -eu
bin=$(mktemp -d)
trap 'rm -rf "$bin"' EXIT
printf '#!/bin/sh\nexit 1\n' >"$bin/dpkg-query"
printf '#!/bin/sh\necho "E: Unable to fetch some archives"\nexit 100\n' >"$bin/apt-get"
printf '#!/bin/sh\nexec "$@"\n' >"$bin/sudo"
chmod +x "$bin"/*
for script in run test; do
    if said=$(PATH="$bin:$PATH" "$1/$script" 2>&1); then
        echo "$script went on: $said"
        exit 1
    fi
    case $said in
    *'could not be installed (E: Unable to fetch some archives)'*) ;;
    *) echo "$script does not say why: $said" && exit 1 ;;
    esac
done
