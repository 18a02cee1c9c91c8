// The module sarvane._sarvane: what Python calls of the study library. The classes and functions for users are in
// sarvane/, in Python.
#include "shared.h"

// ---- The library, and what it tells of operators and studies

// open(path of the operator library, StudyError)
static PyObject* open_library(PyObject* module, PyObject* args) {
    (void)module;
    PyObject *path, *error;
    if (!PyArg_ParseTuple(args, "O&O", PyUnicode_FSConverter, &path, &error)) return NULL;
    Py_INCREF(error);
    Py_XDECREF(study_error);
    study_error = error;
    SarvaneProblem* problem = NULL;
    const SarvaneStatus status =
        library ? SARVANE_OK : SarvaneOpenLibrary(PyBytes_AsString(path), &library, &problem);
    Py_DECREF(path);
    if (status == SARVANE_OK) Py_RETURN_NONE;
    PyErr_SetString(PyExc_ImportError, problem ? problem->message : SarvaneStatusText(status));
    SarvaneFreeProblem(problem);
    return NULL;
}

static const char* argument_kind(SarvaneArgumentKind kind) {
    static const char* const names[] = {"curve", "bar", "count", "number", "switch", "word"};
    return kind >= SARVANE_CURVE && kind <= SARVANE_WORD ? names[kind - SARVANE_CURVE] : "number";
}

typedef struct ArgumentPlace {
    size_t op, argument;
} ArgumentPlace;

static PyObject* describe_word(void* of, size_t index) {
    const ArgumentPlace* const place = of;
    SarvaneWordInfo info;
    if (!succeeded(SarvaneGetWordInfo(library, place->op, place->argument, index, &info))) return NULL;
    return Py_BuildValue("(ss)", info.text, info.meaning);
}

static PyObject* describe_argument(void* of, size_t index) {
    ArgumentPlace place = {*(size_t*)of, index};
    SarvaneArgumentInfo info;
    if (!succeeded(SarvaneGetArgumentInfo(library, place.op, index, &info))) return NULL;
    return Py_BuildValue("{ss ss ss ss sd sd sN sN sN}", "name", info.name, "meaning", info.meaning, "default",
                         info.standard, "kind", argument_kind(info.kind), "least", info.least, "greatest",
                         info.greatest, "is_optional", PyBool_FromLong(info.isOptional), "can_be_bound",
                         PyBool_FromLong(info.canBeBound), "words", list_of(info.wordCount, describe_word, &place));
}

static PyObject* describe_output(void* of, size_t index) {
    SarvaneOutputInfo info;
    if (!succeeded(SarvaneGetOutputInfo(library, *(size_t*)of, index, &info))) return NULL;
    return Py_BuildValue("{ss ss ss}", "name", info.name, "meaning", info.meaning, "drawing",
                         drawing_name(info.drawing));
}

static PyObject* describe_operator(void* of, size_t index) {
    (void)of;
    SarvaneOperatorInfo info;
    if (!succeeded(SarvaneGetOperatorInfo(library, index, &info))) return NULL;
    return Py_BuildValue("{ss ss sN sN sN}", "name", info.keyword, "sentence", info.sentence, "arguments",
                         list_of(info.argumentCount, describe_argument, &index), "outputs",
                         list_of(info.outputCount, describe_output, &index), "keeps_snapshots",
                         PyBool_FromLong(info.keepsSnapshots));
}

static PyObject* list_operators(PyObject* module, PyObject* none) {
    (void)module, (void)none;
    return list_of(SarvaneOperatorCount(library), describe_operator, NULL);
}

static PyObject* describe_definition_argument(void* of, size_t index) {
    SarvaneArgumentInfo info;
    if (!succeeded(SarvaneGetDefinitionArgument(library, *(size_t*)of, index, &info))) return NULL;
    return Py_BuildValue("{ss ss ss}", "name", info.name, "meaning", info.meaning, "default", info.standard);
}

static PyObject* describe_definition_output(void* of, size_t index) {
    SarvaneWordInfo info;
    if (!succeeded(SarvaneGetDefinitionOutput(library, *(size_t*)of, index, &info))) return NULL;
    return Py_BuildValue("{ss ss}", "name", info.text, "meaning", info.meaning);
}

static PyObject* describe_definition(void* of, size_t index) {
    (void)of;
    SarvaneDefinitionInfo info;
    if (!succeeded(SarvaneGetDefinitionInfo(library, index, &info))) return NULL;
    return Py_BuildValue("{ss ss ss ss ss ss sN sN}", "name", info.name, "sentence", info.sentence, "group", info.group,
                         "source", info.source, "choice", info.choice, "text", info.text, "arguments",
                         list_of(info.argumentCount, describe_definition_argument, &index), "outputs",
                         list_of(info.outputCount, describe_definition_output, &index));
}

static PyObject* list_studies(PyObject* module, PyObject* none) {
    (void)module, (void)none;
    size_t count = 0;
    if (!succeeded(SarvaneListDefinitions(library, &count))) return NULL;
    return list_of(count, describe_definition, NULL);
}

// labels(column): the texts of a column of labels, None where there is none
static PyObject* label_texts(PyObject* module, PyObject* object) {
    (void)module;
    Column column = {0};
    const Py_ssize_t count = PyObject_Size(object);
    PyObject* list = NULL;
    if (count >= 0 && open_column(object, &column, count)) {
        list = PyList_New(count);
        for (Py_ssize_t i = 0; list && i < count; ++i) {
            PyObject* const text = result_object(column.input.first[i * column.input.stride], 1);
            if (!text || PyList_SetItem(list, i, text) < 0) Py_CLEAR(list);
        }
    }
    close_column(&column);
    return list;
}

static PyMethodDef module_methods[] = {
    {"open", open_library, METH_VARARGS, NULL},
    {"compile", compile_study, METH_VARARGS, NULL},
    {"operators", list_operators, METH_NOARGS, NULL},
    {"studies", list_studies, METH_NOARGS, NULL},
    {"labels", label_texts, METH_O, NULL},
    {"make_bars", make_bars, METH_VARARGS, NULL},
    {"read_bars", read_bars, METH_VARARGS, NULL},
    {NULL, NULL, 0, NULL},
};

static struct PyModuleDef module_definition = {PyModuleDef_HEAD_INIT, "_sarvane", NULL, -1, module_methods,
                                               NULL,                  NULL,       NULL, NULL};

PyMODINIT_FUNC PyInit__sarvane(void) {
    PyObject* const module = PyModule_Create(&module_definition);
    if (!module) return NULL;
    compiled_type = (PyTypeObject*)PyType_FromSpec(&compiled_spec);
    PyObject* const live_type = compiled_type ? PyType_FromSpec(&live_spec) : NULL;
    if (!live_type || PyModule_AddObject(module, "Live", live_type) < 0 ||
        PyModule_AddStringConstant(module, "version", SARVANE_VERSION) < 0) {
        Py_DECREF(module);
        return NULL;
    }
    return module;
}
