#pragma once

namespace orvel {

// Connects the compositor's effect and transition loops to the effect catalog and the pipeline
// runner. Called once where a program starts drawing (the editor and orvel-render).
void installCatalogEffectHooks();

} // namespace orvel
