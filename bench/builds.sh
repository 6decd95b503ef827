# Sourced by scripts that run builds against one another, with `root` set to the tree's top: git
# revisions are built once, each in build/compare/REVISION.

# Builds targets of a revision and prints the folder they are in; status 2 when there is no such
# revision.
build_revision() {
  local revision tree target
  revision=$(git -C "$root" rev-parse --verify --quiet "$1^{commit}") || {
    echo "$1: neither a build nor a revision" >&2
    return 2
  }
  tree=$root/build/compare/$revision
  for target in "${@:2}"; do
    [ ! -x "$tree/build/release/$target" ] || continue
    echo "Building $1..." >&2
    mkdir -p "$tree"
    git -C "$root" archive "$revision" | tar -x -C "$tree"
    (cd "$tree" && cmake --preset release -DVELTRAMOX_TESTS=OFF -DVELTRAMOX_BENCH=ON &&
      cmake --build --preset release --target "${@:2}") >"$tree.log" 2>&1 || {
      tail -n 20 "$tree.log" >&2
      return 1
    }
    break
  done
  echo "$tree/build/release"
}
