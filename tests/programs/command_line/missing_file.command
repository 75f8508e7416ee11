["missing.marl", "1"]
