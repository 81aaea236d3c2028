#!/bin/bash
# Puts all that a header declares into the group of its module, and turns the labels of a contract into paragraphs.
# Argument: a header. The result goes to the standard output.
set -euo pipefail
name=$(basename "$1")
case $name in
  DDB_* | *Export.h) group=startup ;;
  bme_* | chk_*) group=mesh ;;
  shp_*) group=shapes ;;
  gsl_*) group=geometry ;;
  dtu_* | dtmC_*) group=datums ;;
  rgnC_*) group=regions ;;
  odiC_* | res_*) group=output ;;
  bdo*) group=reference ;;
  exo_* | vtu_*) group=exchange ;;
  pic_*) group=picture ;;
  *) group=platform ;;
esac
[[ $1 != *platform/* ]] || group=platform
# the labels that begin a line of a contract; continued lines are indented as far as its text
sed -E -e 's!^( *///) ([A-Z][a-z]+|Stored as)  +!\1\n\1 **\2**: !' \
  -e "1s!^!/** @addtogroup $group\n * @{ */\n!" -e '$s!$!\n/** @} */!' "$1"
