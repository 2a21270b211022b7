#!/usr/bin/env bash
# Has promtool check the text of all metrics. Usage: check_metrics.sh WEB_TESTS FOLDER
set -euo pipefail

tests=$(realpath "$1")
mkdir -p "$2"
folder=$(realpath "$2")
# shellcheck source=scripts/packages.sh
. "$(dirname "$(realpath "$0")")/../../../scripts/packages.sh"
promtool=$(find_promtool "$folder")

METRICS_FILE=$folder/metrics.txt "$tests" --gtest_brief \
    --gtest_filter=Metrics.HaveEveryKindOfFigureAfterATake
"$promtool" check metrics <"$folder/metrics.txt"
