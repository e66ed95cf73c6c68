#pragma once

// What the web engine needs before the application object exists: the asset
// scheme, shared GL contexts, and the engine's command-line flags.
namespace Lumo::Document::WebEngineSetup {

void prepare();

} // namespace Lumo::Document::WebEngineSetup
