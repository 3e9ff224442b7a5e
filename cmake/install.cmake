# Install rules and packaging: filled in by the packaging work.
