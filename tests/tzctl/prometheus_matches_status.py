#!/usr/bin/python3
"""Reads mira-tzctl status --prometheus with the Prometheus client's own
parser and holds each value to status --json of the same state.

    prometheus_matches_status.py METRICS_FILE JSON_FILE

Exits 0 when they match, 1 with a line per difference, 77 when the parser
(python3-prometheus-client) is missing."""
import json
import sys

try:
    from prometheus_client.parser import text_string_to_metric_families
except ImportError:
    print("python3-prometheus-client is missing (apt-get install python3-prometheus-client)")
    sys.exit(77)

SYSTEM_PATH = "/usr/share/zoneinfo.default"

with open(sys.argv[1], encoding="utf-8") as f:
    text = f.read()
with open(sys.argv[2], encoding="utf-8") as f:
    status = json.load(f)
families = {f.name: f for f in text_string_to_metric_families(text)}
errors = []


def check(what, got, want):
    if got != want:
        errors.append(f"{what}: {got!r}, status says {want!r}")


for family in families.values():
    check(f"{family.name}: type", family.type, "gauge")
    if not family.documentation:
        errors.append(f"{family.name}: no HELP")
    for sample in family.samples:
        if sample.timestamp is not None:
            errors.append(f"{family.name}: a timestamp")


def flag(name):
    samples = families[name].samples
    check(f"{name}: samples", len(samples), 1)
    return samples[0].value


latest = status["latest"]
check("consistent", flag("mira_tzlink_consistent"), status["consistent"])
check("update_pending", flag("mira_tzlink_update_pending"),
      bool(latest and latest["next_boot"] == "activated"))
check("cleanup_pending", flag("mira_tzlink_cleanup_pending"), status["cleanup_marker"])
check("links_agree", flag("mira_tzlink_links_agree"), status["links_agree"])
check("versions_agree", flag("mira_tzlink_versions_agree"),
      bool(status["versions_agree"]))
check("localtime_resolves", flag("mira_tzlink_localtime_resolves"),
      status["localtime_resolves"])
check("problems", flag("mira_tzlink_problems"), len(status["problems"]))


def labels(path, dataset):
    return {"path": path, "version": dataset["version"] if dataset else "",
            "zoneinfo_version": (dataset and dataset["zoneinfo_version"]) or "",
            "icu_version": (dataset and dataset["icu_version"]) or "",
            "icu_schema": (dataset and dataset["schema"]) or ""}


want = {"system": labels(SYSTEM_PATH, status["system"])}
if status["in_use"]:
    want["in_use"] = labels(status["in_use"]["path"] or SYSTEM_PATH, status["in_use"])
if latest:
    want["latest"] = labels(latest["target"], latest["dataset"])
got = {}
for sample in families["mira_tzlink_dataset_info"].samples:
    check("dataset_info value", sample.value, 1)
    got[sample.labels.pop("role")] = sample.labels
check("dataset_info", got, want)
for line in errors:
    print(line)
sys.exit(1 if errors else 0)
