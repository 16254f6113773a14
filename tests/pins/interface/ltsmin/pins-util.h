/* The tables of the host, one for each type. */
#ifndef VESK_TEST_LTSMIN_PINS_UTIL_H
#define VESK_TEST_LTSMIN_PINS_UTIL_H

#include <ltsmin/pins.h>

/* The number of a value, which is added when there is none. */
int pins_chunk_put(model_t model, int type, const chunk value);
/* Valid as long as the model. */
chunk pins_chunk_get(model_t model, int type, int number);

#endif
