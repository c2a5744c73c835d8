# SPDX-FileCopyrightText: 2026 The Korvel authors
# SPDX-License-Identifier: MIT
