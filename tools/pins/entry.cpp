// What a tool of LTSmin looks for in a plugin. Compiled for each model, which it names.
#include "bridge.hpp"

extern "C" {

char pins_plugin_name[] = VESK_PINS_MODEL;

void pins_model_init(model_t model) {
  Vesk::Pins::load(model, VESK_PINS_MODEL);
}
}
