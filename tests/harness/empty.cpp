// Keeps the harness library non-empty before its sources land.
