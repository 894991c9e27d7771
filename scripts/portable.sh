#!/usr/bin/env bash
# Looks through the sources of the Windows library for what only GCC and its like take, so that other compilers can be
# added. What stands in an #if for such a compiler, with something else for the others, doesn't count.
set -euo pipefail
source "$(dirname "$0")/setup.sh"
vlox_setup git g++ unifdef

# What other compilers don't define. (They have __builtin_is_constant_evaluated, all of them.)
gcc_only=(-U__GNUC__ -U__clang__ -U__MINGW32__ -U__SIZEOF_INT128__ -UVLOX_SM9_X86_64)

# A name, the pattern, and a sample that it has to find: a check that finds nothing any more would stay green for ever.
constructs=(
    'attribute' '__attribute__|\[\[gnu::' 'void f() __attribute__((cold));'
    'builtin function' '__builtin_(?!is_constant_evaluated\b)\w+|__sync_\w+|__atomic_\w+' 'int n = __builtin_clz(x);'
    'statement expression' '\(\s*\{[^{}]*;' 'int n = ({ int m = f(); m; });'
    'designated initialiser' '[{,]\s*\.\w+\s*=[^=]' 'P p = {.x = 1, .y = 2};'
    'assembler' '\b(__)?asm(__)?\b' '__asm__("nop");'
    'extended type or word' '__int128|__extension__|__typeof|\btypeof\s*\(|__label__' 'unsigned __int128 n;'
    'name of a function' '__PRETTY_FUNCTION__' 'log(__PRETTY_FUNCTION__);'
    'range of cases' '\bcase\b[^:;]*\.\.\.' 'case 1 ... 5: return;'
    'condition without middle' '\?\s*:[^:]' 'int n = a ?: b;'
)

# The text that another compiler reads: no comments, no texts in quotes.
foreign_text() {
    { unifdef "${gcc_only[@]}" "$1" || (($? == 1)); } | g++ -w -fpreprocessed -dD -E -P -x c++ - |
        perl -pe 's/"(\\.|[^"\\])*"/""/g'
}

# Tells each construct in the text of its input by name, with what has matched.
find_constructs() {
    perl -0777 -e '$text = <STDIN>; while (($name, $pattern) = splice @ARGV, 0, 3) {
        print "$name: $&\n" while $text =~ /$pattern/g }' "${constructs[@]}"
}

for ((i = 0; i < ${#constructs[@]}; i += 3)); do
    find_constructs <<<"${constructs[i + 2]}" | grep -q "^${constructs[i]}: " ||
        vlox_refuse "the pattern for '${constructs[i]}' doesn't find its own sample"
done
mapfile -t files < <(git ls-files --cached --others --exclude-standard {src,tools,examples}'/*.h' \
    {src,tools,examples}'/*.cpp' ':!src/platform/posix')
((${#files[@]})) || vlox_refuse "no sources found"
found=0
for file in "${files[@]}"; do
    text=$(foreign_text "$file")
    find_constructs <<<"$text" | sed "s|^|$file: |" | grep . && found=1
done
echo "${#files[@]} files"
exit "$found"
