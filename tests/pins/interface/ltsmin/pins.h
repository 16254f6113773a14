/* What a plugin uses of the interface between LTSmin and its language modules, declared for the host of
 * the tests. The plugins of users are built with the headers of the LTSmin that they have. */
#ifndef VESK_TEST_LTSMIN_PINS_H
#define VESK_TEST_LTSMIN_PINS_H

#include <stdint.h>

/* A model, as the host knows it. */
typedef struct grey_box_model* model_t;

/* A matrix of bits, all of them 0 at first. */
typedef struct matrix {
  int rows;
  int cols;
  unsigned char* cells;
} matrix_t;

void dm_create(matrix_t* matrix, const int rows, const int cols);
void dm_set(matrix_t* matrix, const int row, const int col);
int dm_is_set(const matrix_t* matrix, const int row, const int col);

/* Of what the vector and the labels are made. */
typedef struct lts_type_s* lts_type_t;

typedef enum { LTStypeChunk, LTStypeBool } data_format_t;

lts_type_t lts_type_create(void);
void lts_type_validate(lts_type_t type);
/* The number of the type with this name, which is added when there is none. */
int lts_type_put_type(lts_type_t type, const char* name, data_format_t format, int* is_new);
void lts_type_set_state_length(lts_type_t type, int length);
void lts_type_set_state_name(lts_type_t type, int slot, const char* name);
void lts_type_set_state_typeno(lts_type_t type, int slot, int number);
void lts_type_set_edge_label_count(lts_type_t type, int count);
void lts_type_set_edge_label_name(lts_type_t type, int label, const char* name);
void lts_type_set_edge_label_typeno(lts_type_t type, int label, int number);
void lts_type_set_state_label_count(lts_type_t type, int count);
void lts_type_set_state_label_name(lts_type_t type, int label, const char* name);
void lts_type_set_state_label_typeno(lts_type_t type, int label, int number);

/* A value of a type that is serialised. */
typedef uint32_t chunk_len;
typedef struct {
  chunk_len len;
  char* data;
} chunk;

/* A transition, given to the host: its labels and group. The host copies the vector. The last argument
 * tells which slots were not written; null: all were. */
typedef struct transition_info {
  int* labels;
  int group;
  int por_proviso;
} transition_info_t;
typedef void (*TransitionCB)(void* context, transition_info_t* info, int* target, int* copied);

/* Both return how many transitions there are. */
typedef int (*next_method_grey_t)(model_t model, int group, int* source, TransitionCB callback,
                                  void* context);
typedef int (*next_method_black_t)(model_t model, int* source, TransitionCB callback, void* context);
typedef int (*get_label_method_t)(model_t model, int label, int* state);
typedef void (*ExitCB)(model_t model);

void GBsetContext(model_t model, void* context);
void* GBgetContext(model_t model);
void GBsetLTStype(model_t model, lts_type_t type);
/* The host owns the matrices: a row for each group, or state label, and a column for each slot. */
void GBsetDMInfo(model_t model, matrix_t* matrix);
void GBsetDMInfoRead(model_t model, matrix_t* matrix);
void GBsetDMInfoMayWrite(model_t model, matrix_t* matrix);
void GBsetDMInfoMustWrite(model_t model, matrix_t* matrix);
void GBsetStateLabelInfo(model_t model, matrix_t* matrix);
void GBsetInitialState(model_t model, int* state);
void GBsetNextStateLong(model_t model, next_method_grey_t method);
void GBsetNextStateAll(model_t model, next_method_black_t method);
void GBsetStateLabelLong(model_t model, get_label_method_t method);
void GBsetExit(model_t model, ExitCB method);

#endif
