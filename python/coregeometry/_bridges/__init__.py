"""Bridges to other packages; each is imported when it is first needed."""
