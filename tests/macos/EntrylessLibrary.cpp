// A library without any entry.
