@rem unregister.cmd [user]: undoes register.cmd [user].
@call "%~dp0register.cmd" undo %*
