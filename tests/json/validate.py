"""Validates run documents against the schema; the documents of one case run
with different thread counts must agree (after parsing) but for the count,
and the document's stop must carry the exit status the process had.

    validate.py SCHEMA FIRST.json SECOND.json EXIT_STATUS
"""
import json
import os
import sys

import jsonschema


def main():
    schema_path, first_path, second_path, status = sys.argv[1:5]
    with open(schema_path) as f:
        schema = json.load(f)
    validator = jsonschema.Draft202012Validator(schema)
    documents = []
    for path in (first_path, second_path):
        with open(path) as f:
            document = json.load(f)
        errors = sorted(validator.iter_errors(document), key=lambda e: list(e.path))
        for error in errors[:10]:
            print(f"{path}: {'/'.join(map(str, error.path))}: {error.message[:300]}")
        if errors:
            return 1
        documents.append(document)
    # The runs were made in scratch folders of their own: paths are
    # compared by their base names.
    for document in documents:
        document["command_line"]["threads"] = None
        line = document["command_line"]
        line["command_file"] = os.path.basename(line["command_file"])
        for entry in document["inputs"]:
            entry["path"] = os.path.basename(entry["path"])
        if document["scores"] and document["scores"]["file"]:
            document["scores"]["file"] = os.path.basename(document["scores"]["file"])
        if document["stop"]:
            for folder in ("/threads1/", "/threads2/"):
                document["stop"]["message"] = document["stop"]["message"].replace(folder, "/threadsN/")
    if documents[0] != documents[1]:
        print("the documents of one and of two threads differ")
        return 1
    stop = documents[0]["stop"]
    if stop is None and status != "0":
        print(f"exit status {status} but the document has no stop")
        return 1
    if stop is not None and str(stop["exit_status"]) != status:
        print(f"exit status {status} but the document's stop says {stop['exit_status']}")
        return 1
    print("valid:", first_path)
    return 0


if __name__ == "__main__":
    sys.exit(main())
