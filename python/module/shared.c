#include "shared.h"

SarvaneLibrary* library = NULL;
PyObject* study_error = NULL;

// ---- Errors

// Raises the exception of a status, and frees the problem.
void raise_status(SarvaneStatus status, SarvaneProblem* problem) {
    if (status == SARVANE_OUT_OF_MEMORY) {
        PyErr_NoMemory();
    } else if (problem) {
        PyObject* const nearest = PyTuple_New((Py_ssize_t)problem->nearestCount);
        for (size_t i = 0; nearest && i < problem->nearestCount; ++i)
            PyTuple_SetItem(nearest, (Py_ssize_t)i, PyUnicode_FromString(problem->nearest[i]));
        PyObject* const error =
            nearest ? PyObject_CallFunction(study_error, "sssnnO", problem->message, problem->source, problem->text,
                                            (Py_ssize_t)problem->offset, (Py_ssize_t)problem->length, nearest)
                    : NULL;
        if (error) PyErr_SetObject(study_error, error);
        Py_XDECREF(error);
        Py_XDECREF(nearest);
    } else if (status == SARVANE_NO_SNAPSHOT) {
        PyErr_SetString(PyExc_LookupError, "nothing was saved there");
    } else {
        PyErr_SetString(status == SARVANE_WRONG_ARGUMENT ? PyExc_ValueError : PyExc_RuntimeError,
                        SarvaneStatusText(status));
    }
    SarvaneFreeProblem(problem);
}

// 1 for a success; else raises.
int succeeded(SarvaneStatus status) {
    if (status != SARVANE_OK) raise_status(status, NULL);
    return status == SARVANE_OK;
}

// ---- Values

// A label's text, None for no label, and a float for any other result.
PyObject* result_object(double value, int is_label) {
    char text[12];
    if (!is_label) return PyFloat_FromDouble(outward(value));
    if (!SarvaneLabelText(value, text)) Py_RETURN_NONE;
    return PyUnicode_DecodeLatin1(text, (Py_ssize_t)strlen(text), NULL);
}

PyObject* refuse_new(PyTypeObject* type, PyObject* args, PyObject* keywords) {
    (void)type, (void)args, (void)keywords;
    PyErr_SetString(PyExc_TypeError, "sarvane.run and sarvane.Study make objects of this class");
    return NULL;
}

// A list of what `describe` gives for each index below `count`.
PyObject* list_of(size_t count, PyObject* (*describe)(void* of, size_t index), void* of) {
    PyObject* const list = PyList_New(0);
    for (size_t i = 0; list && i < count; ++i) {
        PyObject* const item = describe(of, i);
        const int is_added = item && PyList_Append(list, item) == 0;
        Py_XDECREF(item);
        if (!is_added) {
            Py_DECREF(list);
            return NULL;
        }
    }
    return list;
}

const char* drawing_name(SarvaneDrawing drawing) {
    static const char* const names[] = {"line", "step", "band", "histogram", "marker"};
    return drawing >= SARVANE_LINE && drawing <= SARVANE_MARKER ? names[drawing - SARVANE_LINE] : "line";
}

// ---- Columns

// The number at `place` of a kind of struct's letters. NaN for a kind that is none.
static double number_at(const char* place, char kind, Py_ssize_t size) {
    union {
        double d;
        float f;
        int8_t i1;
        int16_t i2;
        int32_t i4;
        int64_t i8;
        uint8_t u1;
        uint16_t u2;
        uint32_t u4;
        uint64_t u8;
    } bits;
    memcpy(&bits, place, (size_t)size);
    if (kind == 'd') return bits.d;
    if (kind == 'f') return (double)bits.f;
    if (kind == '?') return bits.u1 != 0;
    if (strchr("bhilqn", kind)) return size == 1 ? bits.i1 : size == 2 ? bits.i2 : size == 4 ? bits.i4 : (double)bits.i8;
    return size == 1 ? bits.u1 : size == 2 ? bits.u2 : size == 4 ? bits.u4 : (double)bits.u8;
}

// The letter of a native format of one number, or 0.
static char kind_of(const Py_buffer* view) {
    const char* format = view->format ? view->format : "B";
    if (*format == '@' || *format == '=' || (*format == '<' && PY_LITTLE_ENDIAN)) ++format;
    if (!*format || format[1] || !strchr("df?bhilqnBHILQN", *format)) return 0;
    const Py_ssize_t size = view->itemsize;
    if (size != 1 && size != 2 && size != 4 && size != 8) return 0;
    return (*format == 'd' && size != 8) || (*format == 'f' && size != 4) ? 0 : *format;
}

// Numbers that are doubles a whole number of doubles apart are read where they are.
int open_column(PyObject* object, Column* column, Py_ssize_t count) {
    if (PyObject_GetBuffer(object, &column->view, PyBUF_STRIDES | PyBUF_FORMAT) < 0) return 0;
    column->is_held = 1;
    const Py_buffer* const view = &column->view;
    const char kind = kind_of(view);
    if (view->ndim != 1 || !kind) {
        PyErr_SetString(PyExc_TypeError, "a column takes numbers in one dimension");
        return 0;
    }
    if (view->shape[0] != count) {
        PyErr_Format(PyExc_ValueError, "a column has %zd values where the bars are %zd", view->shape[0], count);
        return 0;
    }
    const Py_ssize_t stride = view->strides ? view->strides[0] : view->itemsize;
    if (kind == 'd' && stride % (Py_ssize_t)sizeof(double) == 0 && (uintptr_t)view->buf % sizeof(double) == 0) {
        column->input.first = view->buf;
        column->input.stride = stride / (Py_ssize_t)sizeof(double);
        return 1;
    }
    column->copied = malloc(count > 0 ? (size_t)count * sizeof(double) : 1);
    if (!column->copied) {
        PyErr_NoMemory();
        return 0;
    }
    for (Py_ssize_t i = 0; i < count; ++i)
        column->copied[i] = number_at((const char*)view->buf + i * stride, kind, view->itemsize);
    column->input.first = column->copied;
    column->input.stride = 1;
    return 1;
}

void close_column(Column* column) {
    if (column->is_held) PyBuffer_Release(&column->view);
    free(column->copied);
    memset(column, 0, sizeof *column);
}
