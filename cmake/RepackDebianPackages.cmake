# Packs each package again: the modes do not depend on the umask, the times, which SOURCE_DATE_EPOCH
# sets, not on the files', and what ldconfig's trigger does is in no script as well.
string(TIMESTAMP date "%s" UTC)
foreach(package IN LISTS CPACK_PACKAGE_FILES)
  execute_process(COMMAND_ERROR_IS_FATAL ANY COMMAND sh -ec [[
    dpkg-deb --raw-extract "$1" "$1.tree"
    cd "$1.tree"
    rm -f DEBIAN/postinst DEBIAN/postrm
    sort -k 2 -o DEBIAN/md5sums DEBIAN/md5sums
    chmod -R u=rwX,go=rX .
    find . -exec touch --no-dereference --date="@$2" {} +
    dpkg-deb --root-owner-group --build . "$1" >/dev/null
    rm -r "$1.tree"]] sh ${package} ${date})
endforeach()
