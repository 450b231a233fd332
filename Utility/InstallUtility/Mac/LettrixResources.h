#pragma once

/// Called once per install run whose product has one of the Lettrix families. Looks up the user's
/// preferences folder and does nothing else; always true.
bool RegisterLettrixResources();
