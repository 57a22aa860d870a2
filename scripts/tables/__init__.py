# SPDX-License-Identifier: MIT
"""What scripts/manuals makes of the tables."""
