#!/bin/sh
# copy.sh FILE FOLDER: copies a file. So that there is something to try again, it fails at its first attempt at b.txt.
case $1 in
*/b.txt) [ "$ATTEMPT" -gt 1 ] || { echo "the disk was busy" >&2; exit 1; } ;;
esac
mkdir -p "$2"
cp "$1" "$2" 2>/dev/null || { echo "something is in its way" >&2; exit 1; }
