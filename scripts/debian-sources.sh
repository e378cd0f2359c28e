# Fetching the sources of Debian's packages without root, for scripts that read this file with `source`. They
# define `die`, which ends them with a message.

# The version of the source package $1 from which the machine's package $2 is, or would be, installed.
source_version() {
  apt-cache show --no-all-versions "$2" | awk '
    $1 == "Version:" { version = $2 }
    $1 == "Source:" && NF == 3 { source = $3; gsub(/[()]/, "", source) }
    END { if (source) version = source; if (!version) exit 1; print version }' ||
    die "apt does not know $2, made from the source of $1: run apt-get update"
}

# Makes the sources of Debian's packages known to apt, in folder $1. Source lists, indexes and caches of its
# own keep the system's apt state untouched.
prepare_sources() {
  local apt=$1/apt list
  mkdir -p "$apt"/{conf.d,sources.list.d,lists/partial,cache/archives/partial}
  : >"$apt/sources.list"
  shopt -s nullglob
  for list in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
    [[ ! -r $list ]] || sed -nE 's/^[[:space:]]*deb[[:space:]]/deb-src /p' "$list" >>"$apt/sources.list"
  done
  for list in /etc/apt/sources.list.d/*.sources; do
    sed -E 's/^Types:.*/Types: deb-src/I' "$list" >"$apt/sources.list.d/${list##*/}"
  done
  # The machine's own configuration stays in force (proxies, trust), except for the hooks run after an update.
  for list in /etc/apt/apt.conf.d/*; do ln -s "$list" "$apt/conf.d/"; done
  cat >"$apt/conf.d/zzz-private" <<END
#clear APT::Update;
Dir::Etc::sourcelist "$apt/sources.list";
Dir::Etc::sourceparts "$apt/sources.list.d";
Dir::State::lists "$apt/lists";
Dir::Cache "$apt/cache";
APT::Sandbox::User "root";
END
  echo "Dir::Etc::parts \"$apt/conf.d\";" >"$apt/apt.conf"
  export APT_CONFIG=$apt/apt.conf

  # A list that offers no sources (third-party ones often do not) is no obstacle as long as the fetch succeeds.
  apt-get update || echo "${0##*/}: some package lists could not be read; going on"
}

# Fetches and unpacks the source of package $1, version $2, into folder $3.
fetch_source() {
  mkdir -p "$3.unpack"
  (cd "$3.unpack" && apt-get source --only-source "$1=$2") ||
    die "the source of $1 $2 cannot be fetched (an outdated package list? run apt-get update)"
  mv "$3.unpack/$1"-*/ "$3"
}

# Prints the path of the archive of package $1, version $2, as its authors published it, fetched into folder $3.
fetch_archive() {
  local archives
  mkdir -p "$3"
  (cd "$3" && apt-get source --only-source --download-only --tar-only "$1=$2" >&2) ||
    die "the source of $1 $2 cannot be fetched (no network, or an outdated package list?)"
  archives=("$3/$1"_*.orig.tar.*[!c]) # no signatures
  echo "${archives[0]}"
}
