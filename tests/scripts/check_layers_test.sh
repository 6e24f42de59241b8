#!/bin/sh
# check_layers_test.sh <check-layers>: lets it judge a small tree with one breach of each kind, and
# compares all that it says.
set -eu
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT

# source_file <file> <line>...: writes a file of the tree.
source_file() {
  file=$tree/tesselkit/$1
  shift
  mkdir -p "$(dirname "$file")"
  printf '%s\n' "$@" > "$file"
}

# What is allowed.
source_file tesselkit.h '#include "tesselkit/system/store.h"'
source_file platform/file.h '#include <string_view>' '#include "tesselkit/platform/types.h"'
source_file platform/file.cpp '#include "tesselkit/platform/file.h"' '#include <fcntl.h>'
source_file failure/message.cpp '#include "tesselkit/util/adutil_core.h"'
source_file util/adutil_core.h '#include "tesselkit/platform/file.h"'
source_file util/adutil_path.cpp '#include "tesselkit/system/adenvironment.h"'
source_file objects/hash.cpp '#include "tesselkit/encoding/adcrypt.h"'
source_file system/adenvironment.h '#include "tesselkit/failure/message.h"'
source_file system/store.h '#include "tesselkit/objects/map.h"'
source_file system/store.cpp '#include "tesselkit/system/store.h"' '#include <sqlite3.h>'

# What is not.
source_file platform/fault.h '#include <signal.h>' '#include <csignal>' '#include <sys/stat.h>'
source_file siblings/date.h '#include "tesselkit/failure/message.h"'
source_file failure/limit.cpp '#include "tesselkit/util/adutil_parse.h"'
source_file util/adutil_core.cpp '#include "tesselkit/util/adutil_core.h"' '' \
  '#include "tesselkit/failure/message.h"'
source_file system/adenvironment.cpp '#include "tesselkit/system/adenvironment.h"' \
  '#include "tesselkit/system/store.h"'
source_file encoding/base64.h '#include "tesselkit/system/store.h"'
source_file util/adutil_map.cpp '#include <map>' '#include "tesselkit/util/adutil_map.h"'
source_file util/adutil_map.h '#include "adutil_core.h"'
source_file objects/map.h '#include "tesselkit/system/store.h"'
source_file helpers/any.h

cat > "$tree/expected" <<'END'
tesselkit/encoding/base64.h:1: may not include tesselkit/system/store.h
tesselkit/failure/limit.cpp:1: may not include tesselkit/util/adutil_parse.h
tesselkit/helpers/any.h:1: stands in no known folder
tesselkit/objects/map.h:1: may not include tesselkit/system/store.h
tesselkit/platform/fault.h:1: a header of platform/ shows nothing of the host: <signal.h>
tesselkit/platform/fault.h:2: a header of platform/ shows nothing of the host: <csignal>
tesselkit/platform/fault.h:3: a header of platform/ shows nothing of the host: <sys/stat.h>
tesselkit/siblings/date.h:1: may not include tesselkit/failure/message.h
tesselkit/system/adenvironment.cpp:2: may not include tesselkit/system/store.h
tesselkit/util/adutil_core.cpp:3: may not include tesselkit/failure/message.h
tesselkit/util/adutil_map.cpp:1: must include tesselkit/util/adutil_map.h first
tesselkit/util/adutil_map.h:1: "adutil_core.h" is no path from the root
END

if "$1" "$tree" > "$tree/actual"; then
  echo "breaches, and yet it succeeded"
  exit 1
fi
diff -u "$tree/expected" "$tree/actual"
