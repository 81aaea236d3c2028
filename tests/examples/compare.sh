#!/usr/bin/env bash
# The C++ block of the README must be the example, to the letter.    compare.sh README EXAMPLE
diff <(sed -n '/^```cpp$/,/^```$/p' "$1" | sed '1d;$d') "$2"
