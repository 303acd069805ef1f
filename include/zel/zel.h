#pragma once

// Every exported header of ZEL.

#include <zel/bytestreammessage.h>
#include <zel/context.h>
#include <zel/controlmessage.h>
#include <zel/endpoints.h>
#include <zel/environment.h>
#include <zel/environmentdll.h>
#include <zel/idllinstance.h>
#include <zel/inputclient.h>
#include <zel/loadinterface.h>
#include <zel/messagehandler.h>
#include <zel/receivesocket.h>
#include <zel/router.h>
#include <zel/routerhandler.h>
#include <zel/routermessage.h>
#include <zel/sendsocket.h>
#include <zel/socketerror.h>
#include <zel/socketreader.h>
#include <zel/sockettraits.h>
#include <zel/threaderror.h>
#include <zel/zmqcontrollable.h>
#include <zel/zmqcontrollablethread.h>
#include <zel/zmqcontroller.h>
#include <zel/zmqframe.h>
#include <zel/zmqhelper.h>
#include <zel/zmqroutersockettemplate.h>
#include <zel/zmqsocketbase.h>
