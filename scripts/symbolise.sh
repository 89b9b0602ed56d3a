#!/usr/bin/env bash
# Symbolises addresses of a stripped module from its separate debug file
# ("<module>.debug" beside it, found through the module's debug link).
#   symbolise.sh <module> <offset>...    offsets as a crash report gives them
#                                        (module+0x1a2b: 0x1a2b)
#   symbolise.sh --check <module>        shows it once: the module carries no
#                                        debug information, and the offset of
#                                        an export still resolves to its function
#                                        and source line
set -euo pipefail
objdump=x86_64-w64-mingw32-objdump
addr2line=x86_64-w64-mingw32-addr2line

image_base() { "$objdump" -p "$1" | awk '$1 == "ImageBase" { print "0x" $2 }'; }

symbolise() {  # $1 = module, rest = offsets
  local module=$1 base; shift
  base=$(image_base "$module")
  for offset in "$@"; do
    printf '%s+%s: ' "$(basename "$module")" "$offset"
    "$addr2line" -f -C -p -e "$module" "$(printf '0x%x' $((base + offset)))"
  done
}

if [ "${1:-}" != "--check" ]; then
  [ $# -ge 2 ] || { echo "usage: $0 <module> <offset>... | --check <module>" >&2; exit 2; }
  symbolise "$@"
  exit 0
fi

module=$2
export_name=GetInstalledNotificationPackageVersion
if "$objdump" -h "$module" | grep -q '\.debug_info'; then
  echo "symbolise: $module still carries its debug information" >&2; exit 1
fi
"$objdump" -h "$module" | grep -q '\.gnu_debuglink' || { echo "symbolise: $module has no debug link" >&2; exit 1; }
[ -f "$module.debug" ] || { echo "symbolise: no $module.debug beside it" >&2; exit 1; }
# The export's offset, as a crash in it would be reported.
rva=$(python3 - "$module" "$export_name" <<'PY'
import struct, sys
data = open(sys.argv[1], 'rb').read()
pe = struct.unpack_from('<I', data, 0x3c)[0]
sections = struct.unpack_from('<H', data, pe + 6)[0]
optional = pe + 24
optional_size = struct.unpack_from('<H', data, pe + 20)[0]
export_rva = struct.unpack_from('<I', data, optional + 112)[0]
table = [struct.unpack_from('<8sIIII', data, optional + optional_size + 40 * i) for i in range(sections)]
def offset(rva):
    for _, vsize, vaddr, rsize, raw in table:
        if vaddr <= rva < vaddr + max(vsize, rsize):
            return raw + rva - vaddr
    raise SystemExit('rva outside the sections')
e = offset(export_rva)
_, _, _, _, _, base, functions, names, address_table, name_table, ordinal_table = struct.unpack_from('<IIHHIIIIIII', data, e)
for i in range(names):
    name_offset = offset(struct.unpack_from('<I', data, offset(name_table) + 4 * i)[0])
    name = data[name_offset:data.index(b'\0', name_offset)].decode()
    if name == sys.argv[2]:
        ordinal = struct.unpack_from('<H', data, offset(ordinal_table) + 2 * i)[0]
        print(hex(struct.unpack_from('<I', data, offset(address_table) + 4 * ordinal)[0]))
PY
)
[ -n "$rva" ] || { echo "symbolise: no export $export_name" >&2; exit 1; }
line=$(symbolise "$module" "$rva")
echo "$line"
case "$line" in
  *"$export_name at "*PackageIdentityUtils.cpp:[0-9]*) echo "symbolise: resolved from $(basename "$module").debug" ;;
  *) echo "symbolise: $export_name was not resolved" >&2; exit 1 ;;
esac
