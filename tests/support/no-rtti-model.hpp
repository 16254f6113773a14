// A model whose source is compiled without run-time type information, as a model's author may do.
#ifndef VESK_TESTS_NO_RTTI_MODEL_HPP
#define VESK_TESTS_NO_RTTI_MODEL_HPP

#include <memory>

#include "vesk.hpp"

// Two atoms with two states each; their leaves, texts and inner nodes are of classes of the model.
std::unique_ptr<Compound> modelWithoutRtti();
// How often a tree came back otherwise than it was given.
int faultsWithoutRtti();

#endif
