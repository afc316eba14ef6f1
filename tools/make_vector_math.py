#!/usr/bin/env python3
"""Makes from vector_math/functions.txt what the build needs of it, for one system ("elf" or "pe"):

  tables_<header>.cpp    dispatch and cost tables, and with them the kernels, one file a kernel header
  entries.S              the entries: one indirect jump each
  qor_fyn_functions.h    their public declarations
  function_rows.inc      the rows as the tests and benchmarks read them
  exports.txt            every exported name of vector math, "DATA" after names of data

usage: make_vector_math.py LIST SYSTEM OUTPUT_DIRECTORY
"""

import pathlib
import sys
from dataclasses import dataclass

ELEMENT = {"s": "float", "d": "double", "c": "FynComplex8", "z": "FynComplex16"}
KERNEL_ELEMENT = {"s": "float", "d": "double", "c": "Complex<float>", "z": "Complex<double>"}
REAL = {"s": "s", "d": "d", "c": "s", "z": "d"}
ACCURACY = {"L": "low", "H": "high", "E": "enhanced_performance"}
SUFFIXES = {  # by slot; slot 1 has two names
    "s": (("_21",), ("", "_HA"), ("_11",)),
    "d": (("_50",), ("", "_HA"), ("_26",)),
}
FRAME = {"1-1": "OneInOneOut", "c-r": "OneInOneOut", "r-c": "OneInOneOut", "2-1": "TwoInOneOut",
         "1-2": "OneInTwoOut", "v-s": "VectorAndScalar", "lin": "LinearFraction"}
SERVICES = ("SetMode GetMode SetErrStatus GetErrStatus ClearErrStatus SetErrorCallBack GetErrorCallBack "
            "ClearErrorCallBack SetInterfInputVectorPointer").split()
OTHER_SERVICES = "qor_fyn_kernel_GetTTableIndex qor_fyn_kernel_GetTTableIndexM dll_cpu_version".split()


@dataclass
class Function:
    """One function of one element type, contiguous or strided."""
    name: str
    type: str
    shape: str
    header: str
    kernels: list  # by slot
    costs: list    # by slot
    bound: str
    strided: bool

    @property
    def stem(self):
        return self.type + self.name + ("I" if self.strided else "")

    @property
    def is_pack(self):
        return self.shape in ("pack", "unpack")

    @property
    def copies_scalar(self):
        return self.shape == "v-s" and self.type == "z"

    def entries(self):
        """(slot, names) of each entry."""
        for slot, suffixes in enumerate(SUFFIXES[REAL[self.type]]):
            yield slot, [f"_fyn{self.stem}{suffix}" for suffix in suffixes]


def expand(pattern):
    """'Name<L|H|E>' as one kernel a slot."""
    if "<" not in pattern:
        return [pattern] * 3
    name, letters = pattern.rstrip(">").split("<")
    return [f"{name}<Accuracy::{ACCURACY[letter]}>" for letter in letters.split("|")]


def read_list(path):
    functions = []
    for line in pathlib.Path(path).read_text().splitlines():
        if not line.strip() or line.startswith("#"):
            continue
        name, types, shape, header, kernels, costs, bounds = line.split()
        patterns = kernels.split(";")
        for position, letter in enumerate(types):
            cost = costs.split("/")[position].split(",")
            bound = bounds.split("/")[position] if bounds != "-" else "-"
            for strided in (False, True) if shape not in ("pack", "unpack") else (False,):
                functions.append(Function(name, letter, shape, header, expand(patterns[-1 if strided else 0]),
                                          cost * 3 if len(cost) == 1 else cost, bound, strided))
    return functions


def kernel(function, slot):
    """The C++ expression of a slot's kernel."""
    name, element = function.kernels[slot], KERNEL_ELEMENT[function.type]
    if function.is_pack:
        return f"{name}<{element}>"
    result = real = KERNEL_ELEMENT[REAL[function.type]]
    elements = {"1-1": f"{element}, {element}", "c-r": f"{element}, {result}",
                "r-c": f"{real}, {element}"}.get(function.shape, element)
    frame = FRAME[function.shape] + ("Pointer" if function.copies_scalar else "")
    form = "strided" if function.strided else "contiguous"
    return f'{frame}<{name}, "v{function.type}{function.name}", {elements}>::{form}'


def tables(functions, header, system):
    lines = ['// Made from vector_math/functions.txt.', '#include "vector_math/frame/dispatch_table.h"',
             '#include "vector_math/frame/shapes.h"', f'#include "vector_math/kernels/{header}.h"', '',
             'using namespace qor::fyn;', '', 'extern "C" {']
    for f in functions:
        kernels = ", ".join(f"QOR_SLOT({kernel(f, slot)})" for slot in range(3))
        costs = ", ".join(cost + "f" if "." in cost else cost + ".0f" for cost in f.costs)
        lines.append(f"DispatchTable table_{f.stem} = {{{{{kernels}}}, {{{costs}}}, 0}};")
    lines.append('} // extern "C"')
    for f in functions:
        table, public = f"table_{f.stem}", f"qor_fyn_kernel_{f.stem}_"
        for kind, offset, size in (("ttab", 0, 24), ("ctab", 24, 16)):
            text = f".globl {public}{kind}\\n.set {public}{kind}, {table} + {offset}"
            if system == "elf":
                text += f"\\n.type {public}{kind}, @object\\n.size {public}{kind}, {size}"
            lines.append(f'asm("{text}");')
    return lines


# The entries that do more than jump. Arguments as each system passes them; the width flag is the fifth.
PACK_BODY = {
    "elf": ["mov $1, %r8d", "jmp *{slot}(%rip)"],
    "pe": [".seh_proc {entry}", "sub $56, %rsp", ".seh_stackalloc 56", ".seh_endprologue", "movl $1, 32(%rsp)",
           "call *{slot}(%rip)", "add $56, %rsp", "ret", ".seh_endproc"],
}
# The scalar comes in two vector registers (elf) or by address (pe); the kernel gets the address of a copy.
SCALAR_BODY = {
    ("elf", False): [".cfi_startproc", "sub $24, %rsp", ".cfi_adjust_cfa_offset 24", "movsd %xmm0, (%rsp)",
                     "movsd %xmm1, 8(%rsp)", "mov %rdx, %rcx", "mov %rsp, %rdx", "call *{slot}(%rip)",
                     "add $24, %rsp", ".cfi_adjust_cfa_offset -24", "ret", ".cfi_endproc"],
    ("elf", True): [".cfi_startproc", "sub $24, %rsp", ".cfi_adjust_cfa_offset 24", "movsd %xmm0, (%rsp)",
                    "movsd %xmm1, 8(%rsp)", "mov %r8d, %r9d", "mov %rcx, %r8", "mov %rsp, %rcx",
                    "call *{slot}(%rip)", "add $24, %rsp", ".cfi_adjust_cfa_offset -24", "ret", ".cfi_endproc"],
    ("pe", False): [".seh_proc {entry}", "sub $56, %rsp", ".seh_stackalloc 56", ".seh_endprologue",
                    "movups (%r8), %xmm0", "movups %xmm0, 32(%rsp)", "lea 32(%rsp), %r8", "call *{slot}(%rip)",
                    "add $56, %rsp", "ret", ".seh_endproc"],
    ("pe", True): [".seh_proc {entry}", "sub $72, %rsp", ".seh_stackalloc 72", ".seh_endprologue",
                   "movups (%r9), %xmm0", "movups %xmm0, 48(%rsp)", "mov 112(%rsp), %rax", "mov %rax, 32(%rsp)",
                   "mov 120(%rsp), %eax", "mov %eax, 40(%rsp)", "lea 48(%rsp), %r9", "call *{slot}(%rip)",
                   "add $72, %rsp", "ret", ".seh_endproc"],
}


def entries(functions, system):
    lines = ["// Made from vector_math/functions.txt.", ".text"]
    for f in functions:
        if system == "elf":
            lines.append(f".hidden table_{f.stem}")
        for slot, names in f.entries():
            body = ["jmp *{slot}(%rip)"]
            if f.is_pack:
                body = PACK_BODY[system]
            elif f.copies_scalar:
                body = SCALAR_BODY[system, f.strided]
            lines.append(".balign 8")
            for name in names:
                lines.append(f".globl {name}")
                lines.append(f".type {name}, @function" if system == "elf"
                             else f".def {name}; .scl 2; .type 32; .endef")
            lines += [f"{name}:" for name in names]
            lines += ["\t" + line.format(slot=f"table_{f.stem} + {8 * slot}", entry=names[0]) for line in body]
            if system == "elf":
                lines += [f".size {name}, . - {name}" for name in names]
    if system == "elf":
        lines.append('.section .note.GNU-stack, "", @progbits')
    return lines


def parameters(f):
    """The C parameters of an entry."""
    element, real = ELEMENT[f.type], ELEMENT[REAL[f.type]]
    if f.is_pack:
        index = {"I": "int32_t inc{}", "V": "const int32_t *i{}", "M": "const int32_t *m{}"}[f.name[-1]]
        vectors = [f"const {element} *a"]
        pair = [index.format("a"), f"{element} *y"] if f.shape == "pack" else [f"{element} *y", index.format("y")]
        return ["int32_t n"] + vectors + pair
    parts = {
        "1-1": [(f"const {element} *", "a"), (f"{element} *", "r")],
        "c-r": [(f"const {element} *", "a"), (f"{real} *", "r")],
        "r-c": [(f"const {real} *", "a"), (f"{element} *", "r")],
        "2-1": [(f"const {element} *", "a"), (f"const {element} *", "b"), (f"{element} *", "r")],
        "1-2": [(f"const {element} *", "a"), (f"{element} *", "r1"), (f"{element} *", "r2")],
        "v-s": [(f"const {element} *", "a"), (f"{element} ", "b"), (f"{element} *", "r")],
        "lin": [(f"const {element} *", "a"), (f"const {element} *", "b")]
               + [(f"{element} ", s) for s in ("scalea", "shifta", "scaleb", "shiftb")] + [(f"{element} *", "r")],
    }[f.shape]
    result = ["int32_t n"]
    for kind, name in parts:
        result.append(kind + name)
        if f.strided and kind.endswith("*"):
            result.append(f"int32_t inc{name}")
    return result


SHAPE_NOTES = """\
 * Shapes, for i = 0 .. n-1 (n <= 0 does nothing):
 *   one in, one out      r[i] = f(a[i])            two in, one out   r[i] = f(a[i], b[i])
 *   one in, two out      r1[i], r2[i] = f(a[i])    vector, scalar    r[i] = f(a[i], b)
 *   linear fraction      r[i] = (scalea*a[i] + shifta) / (scaleb*b[i] + shiftb)
 *   pack, unpack         dense vector y from elements of a, or elements of y from dense a, chosen by an
 *                        increment (I), an index vector (V) or a mask vector (M, non-zero selects)
 * Names ending in I before the suffix are strided: element i of vector v stands at v[incv * i].
 * Suffixes: none and _HA (high accuracy), _21/_50 (low), _11/_26 (enhanced performance).
 * Result vectors may be argument vectors; vectors that overlap otherwise are not allowed. No alignment is
 * asked for. Exceptional elements are reported by the thread's mode. The caller's floating-point control
 * words come back unchanged; flags raised by the work stay raised."""


def public_header(functions):
    lines = ["/*", " * qor_fyn_functions.h: the vector-math entries and their tables. Include qor_fyn.h instead.", " *",
             *SHAPE_NOTES.splitlines(), " *",
             " * qor_fyn_kernel_<t><Func>[I]_ttab holds the kernels of slot 0 (LA), 1 (HA), 2 (EP);",
             " * qor_fyn_kernel_<t><Func>[I]_ctab their relative costs per element, and a zero.", " */",
             "#ifndef QOR_FYN_FUNCTIONS_H", "#define QOR_FYN_FUNCTIONS_H", "", '#include "qor_data.h"', '#include "qor_fyn.h"', "", "#ifdef __cplusplus", 'extern "C" {', "#endif", ""]
    for f in functions:
        for _, names in f.entries():
            lines += [f"void {name}({', '.join(parameters(f))});" for name in names]
        lines.append(f"QOR_FYN_DATA void *qor_fyn_kernel_{f.stem}_ttab[3];")
        lines.append(f"QOR_FYN_DATA const float qor_fyn_kernel_{f.stem}_ctab[4];")
    return lines + ["", "#ifdef __cplusplus", "}", "#endif", "", "#endif"]


def rows(functions):
    lines = ["// Made from vector_math/functions.txt: name, type, shape, strided, distinct kernels by slot, bounds."]
    for f in functions:
        distinct = [f.kernels.index(kernel_name) for kernel_name in f.kernels]
        lines.append(f'{{"{f.name}", \'{f.type}\', "{f.shape}", {str(f.strided).lower()}, '
                     f'{{{", ".join(map(str, distinct))}}}, "{f.bound}"}},')
    return lines


def exports(functions):
    lines = []
    for f in functions:
        lines += [name for _, names in f.entries() for name in names]
        lines += [f"qor_fyn_kernel_{f.stem}_{kind} DATA" for kind in ("ttab", "ctab")]
    return lines + [prefix + name for name in SERVICES for prefix in ("_fyn", "qor_fyn_kernel_")] + OTHER_SERVICES


def main():
    list_file, system, output = sys.argv[1:]
    functions = read_list(list_file)
    directory = pathlib.Path(output)
    directory.mkdir(parents=True, exist_ok=True)

    def write(name, lines):
        text = "\n".join(lines) + "\n"
        path = directory / name
        if not path.exists() or path.read_text() != text:
            path.write_text(text)

    headers = sorted({f.header for f in functions})
    for header in headers:
        write(f"tables_{header}.cpp", tables([f for f in functions if f.header == header], header, system))
    write("entries.S", entries(functions, system))
    write("qor_fyn_functions.h", public_header(functions))
    write("function_rows.inc", rows(functions))
    write("exports.txt", exports(functions))
    print(";".join(headers))


if __name__ == "__main__":
    main()
