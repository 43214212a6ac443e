#!/bin/bash
# Tries check-docs.sh on small libraries of one header each: what it must let pass, what it must
# name.
# usage: check-docs-test.sh ROOT [DOXYGEN]
set -euo pipefail

check=$(cd "$(dirname "$0")" && pwd)/check-docs.sh
root=$(cd "$1" && pwd)
doxygen=${2:-doxygen}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0

mkdir -p "$work/repository/MivoraMac" "$work/repository/docs" "$work/repository/examples/filter"
cp "$root/docs/Doxyfile" "$root/docs/share-comments.awk" "$work/repository/docs"
for file in README.md CHANGELOG.md CONTRIBUTING.md; do
    printf '# %s\n' "$file" > "$work/repository/$file"
done

# try BEHAVIOUR EXPECTED: checks a library whose only header is read from the standard input.
# Expected is "pass", or the beginning of the only complaint, from its line on; a pattern.
try() {
    local behaviour=$1 expected=$2 status=0 found=pass
    { printf '#pragma once\n'; cat; } > "$work/repository/MivoraMac/A.h"
    bash "$check" "$work/repository" "$work" "$doxygen" > "$work/output" 2>&1 ||
        status=$?
    if [ $status = 77 ]; then
        cat "$work/output"
        exit 77
    fi
    if [ $status != 0 ]; then
        # Doxygen says some things twice.
        found=$(sort -u "$work/output" | sed 's|.*/MivoraMac/A\.h:\([0-9]*: \)[a-z]*: |\1|')
    fi
    if [ "$(wc -l <<< "$found")" != 1 ]; then
        found="several: $found"
    fi
    # shellcheck disable=SC2254  # a pattern
    case $found in
        $expected*) ;;
        *)
            echo "$behaviour: expected $expected, got $found"
            failures=$((failures + 1))
            ;;
    esac
}

try "a commented class passes" pass <<'END'
/// A class.
class A {
 public:
    A(const A&) = delete;
    ~A();

    /// An operation.
    void operation();

 private:
    void other();
};
END

try "a class without a comment is named" "2: Compound A is not documented" <<'END'
class A {
 public:
    /// An operation.
    void operation();
};
END

try "a member without a comment is named" "6: Member operation(int count) (function) of class A" <<'END'
/// A class.
class A {
 public:

    void operation(int count);
};
END

try "a free function without a comment is named" "2: Member operation()" <<'END'
void operation();
END

try "a constant without a comment is named" "5: Member kOther" <<'END'
/// A constant.
inline constexpr int kOne = 1;

inline constexpr int kOther = 2;
END

try "a function of a namespace is named" "5: Member operation()" <<'END'
/// A namespace.
namespace N {

void operation();
}
END

try "declarations without a blank line between share the comment" pass <<'END'
/// A class.
class A {
 public:
    /// A value.
    int value() const {
        if (value_ == 0) {
            return 1;  // it's a "{"
        }
        return value_;
    }
    void setValue(int value);
    void setValueAnd(int value,
                     int other) {
        value_ = value + other;
    }

 private:
    int value_ = 0;
};
END

try "a blank line ends what a comment is about" "8: Member other()" <<'END'
/// A class.
class A {
 public:
    /// An operation.
    void operation();

    void other();
};
END

try "the comment of a class is not that of its members" "4: Member a (variable)" <<'END'
/// A class.
struct A {
    int a = 0;
};
END

try "each parameter and result is described where there is one" pass <<'END'
/// A class.
class A {
 public:
    /// Operations.
    /// @param count  how many
    /// @param first, last  where; the last one
    ///               is included
    /// @return whether it is done
    bool operation(int count);
    void other(int first, int last);
    static bool again();
};
END

try "a parameter that nobody has is named" "*: argument 'size' of command @param" <<'END'
/// A class.
class A {
 public:
    /// Operations.
    /// @param size  how large
    bool operation(int count);
    bool other();
};
END

try "a result that nobody has is named" "*: found documented return type" <<'END'
/// A class.
class A {
 public:
    /// An operation.
    /// @return nothing
    void operation();
};
END

try "templates over several lines are declarations" pass <<'END'
/// A class.
template <class T>
class A {
 public:
    /// Operations.
    template <class U>
    void operation(U value) {
        other(value, [] { return 1; });
    }
    template <class U>
    static void other(U value);
};
END

try "values of an enumeration have their comments behind them" pass <<'END'
/// Kinds.
enum class A {
    One,  ///< the first
    Two,  ///< the other
    Three
};

/// A kind.
void operation(A a);
END

exit $((failures > 0))
