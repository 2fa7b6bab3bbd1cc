"""Prints a run document with the paths that name its scratch folder cut
to their base names, so that documents of runs in different folders can be
compared."""
import json
import os
import sys

document = json.load(open(sys.argv[1]))
document["command_line"]["command_file"] = os.path.basename(document["command_line"]["command_file"])
for entry in document["inputs"]:
    entry["path"] = os.path.basename(entry["path"])
if document["scores"] and document["scores"]["file"]:
    document["scores"]["file"] = os.path.basename(document["scores"]["file"])
json.dump(document, sys.stdout, indent=1, sort_keys=True)
sys.stdout.write("\n")
