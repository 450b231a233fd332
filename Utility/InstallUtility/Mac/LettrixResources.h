#pragma once

/// Called once in each install of a product with one of the Lettrix families. Finds the user's preferences
/// folder and does nothing else. Always true.
bool RegisterLettrixResources();
