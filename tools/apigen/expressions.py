"""Size expressions of the description, which each emitter writes in its own C++."""

import ast

OPERATORS = {ast.Add: "+", ast.Sub: "-", ast.Mult: "*", ast.Div: "/"}


def join(operator, left, right):
    return f"{left} {operator} {right}"


def write(expr, name, function, binary=join):
    """The expression with parameters as `name(PARAMETER)` writes them, functions as `function(NAME, ARGUMENTS)` does,
    whose arguments are names and numbers as they stand, and sums and products as `binary(OPERATOR, LEFT, RIGHT)`."""

    def text(node):
        if isinstance(node, ast.BinOp):
            return binary(OPERATORS[type(node.op)], text(node.left), text(node.right))
        if isinstance(node, ast.Call):
            return function(node.func.id, [ast.unparse(argument) for argument in node.args])
        return name(node.id) if isinstance(node, ast.Name) else str(node.value)

    return text(ast.parse(expr, mode="eval").body)


def image_arguments(arguments):
    """Those of an image's size; a literal depth of 1 marks two-dimensional images."""
    return arguments[:2] + arguments[3:] if arguments[2] == "1" else arguments
