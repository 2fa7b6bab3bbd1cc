import json, sys
run = json.load(open(sys.argv[1]))
print("items:", run["items"]["labels"])
print("eigenvalues:", run["extraction"]["initial_eigenvalues"][:3])
print("last rotation:", run["rotations"][-1]["method"], run["rotations"][-1]["loadings"][0])
