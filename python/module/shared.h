// What the files of the module share. One build serves all CPython from 3.9 on: it keeps to the stable interface. The
// buffer protocol is in that interface from 3.11 on; 3.9 and 3.10 have the same functions and the same structure.
#pragma once

#define Py_LIMITED_API 0x030b0000
#define PY_SSIZE_T_CLEAN
#include <Python.h>
#include <sarvane/study.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

// The operators, opened once in a process.
extern SarvaneLibrary* library;
// The class sarvane.StudyError.
extern PyObject* study_error;

// Raises the exception of a status, and frees the problem.
void raise_status(SarvaneStatus status, SarvaneProblem* problem);
// 1 for a success; else raises.
int succeeded(SarvaneStatus status);

// Python has NaN for a missing value.
static inline double outward(double value) { return value == SARVANE_UNDEFINED ? Py_NAN : value; }
// A label's text, None for no label, and a float for any other result.
PyObject* result_object(double value, int is_label);

// A list of what `describe` gives for each index below `count`.
PyObject* list_of(size_t count, PyObject* (*describe)(void* of, size_t index), void* of);
const char* drawing_name(SarvaneDrawing drawing);
// For types whose objects only this module makes.
PyObject* refuse_new(PyTypeObject* type, PyObject* args, PyObject* keywords);

// A column of numbers, in whatever layout it comes.
typedef struct Column {
    Py_buffer view;
    int is_held;     // the view
    double* copied;  // where the numbers had to be converted
    SarvaneInput input;
} Column;

// Numbers that are doubles a whole number of doubles apart are read where they are. 0 with an exception.
int open_column(PyObject* object, Column* column, Py_ssize_t count);
void close_column(Column* column);

// Compiled expressions.
typedef struct Compiled {
    PyObject_HEAD
    SarvaneStudy* study;
    Py_ssize_t column_count;
    Py_ssize_t result_count;
    int is_running;  // in a thread that has let the interpreter go on
} Compiled;

extern PyTypeObject* compiled_type;
extern PyType_Spec compiled_spec, live_spec;
PyObject* compile_study(PyObject* module, PyObject* args);
// The letters of a text, which a list keeps alive. Null with an exception.
const char* zero_ended(PyObject* text, PyObject* kept);
PyObject* make_bars(PyObject* module, PyObject* args);
PyObject* read_bars(PyObject* module, PyObject* args);
